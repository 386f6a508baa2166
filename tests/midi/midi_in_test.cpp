#include "midi/midi_in.h"
#include "midi/port_choice.h"
#include "support/capture.h"
#include "support/scripted_inputs.h"

#include <gtest/gtest.h>
#include <numeric>

namespace {

using midi::input_event;
using test_support::capture;

// Keeps what a listener is told, as text.
struct log {
    std::ostringstream heard;
    std::vector<std::uint8_t> bytes;
    midi::midi_listener_t listener{
        this,
        [](void* self, auto p2, auto port, auto p1) { of(self) << "open " << p2 << p1 << !!port << "; "; },
        [](void* self, auto p2, auto port, auto p1) { of(self) << "close " << p2 << p1 << !!port << "; "; },
        [](void* self, auto message, auto time, auto p1) {
            of(self) << "data " << message << ' ' << time << ' ' << p1 << "; ";
        },
        [](void* self, auto first, auto count, auto time) {
            of(self) << "long " << count << ' ' << time << "; ";
            auto& all = static_cast<log*>(self)->bytes;
            all.insert(all.end(), first, first + count);
        }};
    static std::ostream& of(void* self) { return static_cast<log*>(self)->heard; }
};

struct midi_in : testing::Test {
    test_support::scripted_inputs service{{"Keys", "Pads"}};
    capture out{std::cout}, err{std::cerr};
};

TEST_F(midi_in, chooses_a_device) {
    std::ostringstream listed;
    EXPECT_TRUE(midi::listinputdevices(listed, service));
    EXPECT_EQ(listed.str(), "\ninput devices:\n0: Keys\n1: Pads\n");
    midi::midi_in_t port(service, nullptr);
    EXPECT_FALSE(port.open("pads") || port.open(std::uint32_t(-2)));
    EXPECT_EQ(port.name() + err.take(), "pads: device name not found.\n-2>= 2: devid over.\n");
    EXPECT_TRUE(port.open("ads"));
    EXPECT_EQ(port.name() + std::to_string(port.number()), "Pads1");
    EXPECT_FALSE(port.open(0u)) << "an open port refuses silently";
    EXPECT_EQ(out.take() + err.take(), "select read device: 1: Pads\n");
}

TEST_F(midi_in, starts_a_device_before_its_buffer_is_queued_and_reports_each_step_that_fails) {
    const struct {
        std::set<std::string> failing;
        bool opens;
        const char *err, *calls;
    } cases[] = {
        {{"open 1"}, false, "DeviceID=1: can't open MIDI device.\n", "open 1; "},
        {{"start"}, false, "7: can't start MIDI in.\n", "open 1; start; destroyed; "},
        {{"prepare"}, false, "7: can't prepare MIDI in.\n", "open 1; start; prepare; destroyed; "},
        {{"queue"}, false, "7: can't prepare MIDI in.\n", "open 1; start; prepare; queue; destroyed; "},
        {{}, true, "", "open 1; start; prepare; queue; stop; reset; unprepare; close; destroyed; "},
        {{"stop", "reset", "unprepare"},
         true,
         "7: can't stop MIDI in.\n7: can't reset MIDI in.\n7: can't unprepare MIDI in.\n",
         "open 1; start; prepare; queue; stop; reset; unprepare; close; destroyed; "},
        // A device that is still open may call, so it lives.
        {{"close"},
         true,
         "7: can't close MIDI in.\n",
         "open 1; start; prepare; queue; stop; reset; unprepare; close; "}};
    for (const auto& c : cases) {
        service.failing = c.failing;
        midi::midi_in_t port(service, nullptr);
        EXPECT_TRUE(port.close()) << "a closed port";
        EXPECT_EQ(port.open(1u), c.opens);
        EXPECT_EQ(port.isopen(), c.opens);
        EXPECT_EQ(port.close(), c.failing.empty() || !c.opens);
        EXPECT_FALSE(port.isopen());
        EXPECT_EQ(err.take(), c.err);
        EXPECT_EQ(service.take_calls(), c.calls);
    }
}

TEST_F(midi_in, tells_its_listener) {
    log told;
    std::vector<std::uint8_t> all(300);
    std::iota(all.begin(), all.end(), std::uint8_t(0));
    {
        midi::midi_in_t port(service, &told.listener);
        ASSERT_TRUE(port.open("Keys"));
        service.send(input_event::data, 0x7F3C91, 5);
        service.send(input_event::more_data, 0xF8, 6);
        service.send(input_event::error, 1, 7);
        service.send(input_event::long_error, 1, 8);
        for (std::vector<std::uint8_t> left = all; !left.empty();)
            ASSERT_TRUE(service.send_long(left, 9));
        EXPECT_EQ(told.bytes, all);
        EXPECT_EQ(service.take_calls(), "open 0; start; prepare; queue; queue; queue; queue; ");
        service.failing = {"queue"};
        std::vector<std::uint8_t> last(1, 0xF7);
        EXPECT_TRUE(service.send_long(last, 10));
        EXPECT_EQ(err.take(), "7: can't prepare MIDI in.\n");
        EXPECT_TRUE(port.close());
        EXPECT_FALSE(service.buffer_is_queued()) << "not while it is being closed";
    }
    // The buffer that comes back empty is not reported.
    EXPECT_EQ(told.heard.str(), "open 211; data 8338577 5 8338577; data 248 6 248; long 128 9; "
                                "long 128 9; long 44 9; long 1 10; close 431; ");

    service.failing.clear();
    const midi::midi_listener_t deaf{}, *const listeners[] = {nullptr, &deaf};
    for (const midi::midi_listener_t* listener : listeners) {
        midi::midi_in_t port(service, listener);
        ASSERT_TRUE(port.open("Keys"));
        service.send(input_event::data, 0x7F3C91, 5);
        std::vector<std::uint8_t> bytes(3, 1);
        EXPECT_TRUE(service.send_long(bytes, 1) && service.buffer_is_queued()) << "also when nobody listens";
    }
}

} // namespace
