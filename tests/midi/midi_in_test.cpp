#include "midi/midi_in.h"
#include "midi/port_choice.h"
#include "support/capture.h"
#include "support/scripted_inputs.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <iostream>
#include <numeric>
#include <sstream>

namespace {

using lines = std::vector<std::string>;
using midi::input_event;
using test_support::capture;
using test_support::scripted_inputs;

const lines opening = {"open 1", "start", "prepare", "queue"};

// Keeps what a listener is told, as text.
struct log {
    lines heard;
    std::vector<std::uint8_t> bytes;
    midi::midi_listener_t listener{this, opened, closed, data, long_data};

    static void opened(void* self, std::uintptr_t p2, midi::midi_in_t* port, std::uintptr_t p1) {
        add(self, "open " + std::to_string(p2) + " " + std::to_string(p1) + (port ? " port" : ""));
    }
    static void closed(void* self, std::uintptr_t p2, midi::midi_in_t* port, std::uintptr_t p1) {
        add(self, "close " + std::to_string(p2) + " " + std::to_string(p1) + (port ? " port" : ""));
    }
    static void data(void* self, std::uint32_t message, std::uint32_t time, std::uintptr_t p1) {
        add(self, "data " + std::to_string(message) + " " + std::to_string(time) + " " + std::to_string(p1));
    }
    static void long_data(void* self, const std::uint8_t* bytes, std::uint32_t count, std::uint32_t time) {
        add(self, "long " + std::to_string(count) + " " + std::to_string(time));
        auto& all = static_cast<log*>(self)->bytes;
        all.insert(all.end(), bytes, bytes + count);
    }
    static void add(void* self, const std::string& line) { static_cast<log*>(self)->heard.push_back(line); }
};

TEST(midi_in, chooses_a_device_and_starts_it_before_its_buffer_is_queued) {
    scripted_inputs service({"Keys", "Pads"});
    const struct {
        std::function<bool(midi::midi_in_t&)> open;
        std::string out, err;
    } cases[] = {
        {[](auto& port) { return port.open(1u); }, "select read device: 1: Pads\n", ""},
        {[](auto& port) { return port.open("ads"); }, "select read device: 1: Pads\n", ""},
        {[](auto& port) { return port.open("pads"); }, "", "pads: device name not found.\n"},
        {[](auto& port) { return port.open(std::uint32_t(-2)); }, "", "-2>= 2: devid over.\n"},
    };
    std::ostringstream listed;
    EXPECT_TRUE(midi::listinputdevices(listed, service));
    EXPECT_EQ(listed.str(), "\ninput devices:\n0: Keys\n1: Pads\n");
    for (const auto& c : cases) {
        service.calls.clear();
        midi::midi_in_t port(service, nullptr);
        capture out(std::cout), err(std::cerr);
        const bool opens = c.err.empty();
        EXPECT_EQ(c.open(port), opens);
        EXPECT_EQ(out.take(), c.out);
        EXPECT_EQ(err.take(), c.err);
        EXPECT_EQ(service.calls, opens ? opening : lines{});
        EXPECT_EQ(port.name(), opens ? "Pads" : "");
        if (!opens) continue;
        EXPECT_EQ(port.number(), 1u);
        EXPECT_FALSE(port.open(0u)) << "an open port refuses silently";
        EXPECT_EQ(out.text() + err.text(), "");
    }
}

TEST(midi_in, reports_each_step_that_fails) {
    const struct {
        lines failing;
        bool opens;
        std::string err;
        lines calls; // after those that open it
    } cases[] = {
        {{"open 1"}, false, "DeviceID=1: can't open MIDI device.\n", {}},
        {{"start"}, false, "7: can't start MIDI in.\n", {"destroyed"}},
        {{"prepare"}, false, "7: can't prepare MIDI in.\n", {"destroyed"}},
        {{"queue"}, false, "7: can't prepare MIDI in.\n", {"destroyed"}},
        {{}, true, "", {"stop", "reset", "unprepare", "close", "destroyed"}},
        {{"stop", "reset", "unprepare"},
         true,
         "7: can't stop MIDI in.\n7: can't reset MIDI in.\n7: can't unprepare MIDI in.\n",
         {"stop", "reset", "unprepare", "close", "destroyed"}},
        // A device that is still open may call, so it lives.
        {{"close"}, true, "7: can't close MIDI in.\n", {"stop", "reset", "unprepare", "close"}},
    };
    scripted_inputs service({"Keys", "Pads"});
    capture out(std::cout), err(std::cerr);
    for (const auto& c : cases) {
        service.calls.clear();
        service.failing = c.failing;
        midi::midi_in_t port(service, nullptr);
        EXPECT_TRUE(port.close()) << "a closed port";
        EXPECT_EQ(port.open(1u), c.opens);
        EXPECT_EQ(port.isopen(), c.opens);
        EXPECT_EQ(port.close(), c.failing.empty() || !c.opens);
        EXPECT_FALSE(port.isopen());
        EXPECT_EQ(err.take(), c.err);
        const auto last =
            c.opens ? opening.end() : std::find(opening.begin(), opening.end(), c.failing[0]) + 1;
        lines calls(opening.begin(), last);
        calls.insert(calls.end(), c.calls.begin(), c.calls.end());
        EXPECT_EQ(service.calls, calls);
    }
}

TEST(midi_in, tells_its_listener) {
    scripted_inputs service({"Keys"});
    log heard;
    capture out(std::cout);
    {
        midi::midi_in_t port(service, &heard.listener);
        ASSERT_TRUE(port.open("Keys"));
        service.send(input_event::data, 0x7F3C91, 5);
        service.send(input_event::more_data, 0xF8, 6);
        service.send(input_event::error, 1, 7);
        service.send(input_event::long_error, 1, 8);
    }
    EXPECT_EQ(heard.heard,
              (lines{"open 2 1 port", "data 8338577 5 8338577", "data 248 6 248", "close 4 3 port"}))
        << "and the buffer that comes back empty is not reported";

    const midi::midi_listener_t deaf{};
    for (const midi::midi_listener_t* listener :
         std::initializer_list<const midi::midi_listener_t*>{nullptr, &deaf}) {
        midi::midi_in_t port(service, listener);
        ASSERT_TRUE(port.open("Keys"));
        service.send(input_event::data, 0x7F3C91, 5);
        std::vector<std::uint8_t> bytes(3, 1);
        EXPECT_TRUE(service.send_long(bytes, 1) && service.buffer_is_queued()) << "also when nobody listens";
    }
}

TEST(midi_in, receives_long_data_in_pieces) {
    scripted_inputs service({"Keys"});
    log heard;
    capture out(std::cout), err(std::cerr);
    midi::midi_in_t port(service, &heard.listener);
    ASSERT_TRUE(port.open(0u));
    std::vector<std::uint8_t> sent(300);
    std::iota(sent.begin(), sent.end(), std::uint8_t(0));
    for (std::vector<std::uint8_t> left = sent; !left.empty();)
        ASSERT_TRUE(service.send_long(left, 9));
    EXPECT_EQ(heard.heard, (lines{"open 2 1 port", "long 128 9", "long 128 9", "long 44 9"}));
    EXPECT_EQ(heard.bytes, sent);
    EXPECT_EQ(service.calls, (lines{"open 0", "start", "prepare", "queue", "queue", "queue", "queue"}));
    service.failing = {"queue"};
    std::vector<std::uint8_t> last(1, 0xF7);
    EXPECT_TRUE(service.send_long(last, 10));
    EXPECT_EQ(err.take(), "7: can't prepare MIDI in.\n");
    service.failing.clear();
    service.calls.clear();
    EXPECT_TRUE(port.close());
    EXPECT_FALSE(service.buffer_is_queued()) << "not while it is being closed";
}

} // namespace
