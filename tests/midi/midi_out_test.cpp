#include "midi/midi_out.h"
#include "support/capture.h"
#include "support/recording_service.h"

#include <gtest/gtest.h>

namespace {

using test_support::capture;

// A port on three devices, and what is written meanwhile.
struct midi_out : testing::Test {
    test_support::recording_service service{{"Alpha Synth", "Beta Synth", "Gamma"}};
    midi::midi_out_t port{service};
    capture out{std::cout}, err{std::cerr};
};

TEST_F(midi_out, opens_in_the_services_order_or_says_why_not) {
    const struct {
        const char* name; // null: by number
        std::uint32_t number;
        std::string calls, chosen, err;
        int nameless = -1;
        midi::result_t opening = 0;
    } cases[] = {
        {nullptr, 2, "count; name 0; name 1; name 2; open 2", "2: Gamma", ""},
        {"Synth", 0, "count; name 0; open 0", "0: Alpha Synth", ""},
        {"Beta", 0, "count; name 0; name 1; open 1", "1: Beta Synth", ""},
        {"", 0, "count; name 0; open 0", "0: Alpha Synth", ""},
        {nullptr, 0, "count; name 0; open 0", "0: Alpha Synth", "", 1},
        {"synth", 0, "count; name 0; name 1; name 2", "", "synth: device name not found.\n"},
        {nullptr, 3, "count", "", "3>= 3: devid over.\n"},
        {nullptr, std::uint32_t(-1), "count", "", "-1>= 3: devid over.\n"},
        {nullptr, 2, "count; name 0; name 1", "", "1: GetDevCaps() error.\n", 1},
        {"Gamma", 0, "count; name 0; name 1", "", "1: GetDevCaps() error.\n", 1},
        {nullptr, 1, "count; name 0; name 1; open 1", "1: Beta Synth",
         "DeviceID=1: can't open MIDI device.\n", -1, 4},
    };
    for (const auto& c : cases) {
        service.calls.clear();
        service.device_without_name = c.nameless;
        service.open_result = c.opening;
        const auto made = midi::midi_out_t::create(service);
        EXPECT_EQ(c.name ? made->open(c.name) : made->open(c.number), c.err.empty());
        EXPECT_EQ(made->isopen(), c.err.empty());
        EXPECT_EQ(service.calls, c.calls);
        EXPECT_EQ(made->name(), c.chosen.empty() ? "" : c.chosen.substr(3));
        EXPECT_EQ(out.take(), c.chosen.empty() ? "" : "select write device: " + c.chosen + "\n");
        EXPECT_EQ(err.take(), c.err);
    }
}

TEST_F(midi_out, opens_and_closes_once) {
    EXPECT_TRUE(port.close()) << "a closed port";
    ASSERT_TRUE(port.open(1u));
    service.calls.clear();
    out.take();
    EXPECT_FALSE(port.open(0u) || port.open("Alpha"));
    service.close_result = 5;
    EXPECT_FALSE(port.close());
    EXPECT_FALSE(port.isopen()) << "whatever the device says";
    EXPECT_TRUE(port.close());
    EXPECT_EQ(service.calls, "close");
    EXPECT_EQ(port.name(), "Beta Synth");
    EXPECT_EQ(out.text() + err.text(), "");
    midi::midi_out_t(service).open(0u);
    EXPECT_TRUE(service.calls.ends_with("; close")) << "at the end, too";
    EXPECT_EQ(service.open_devices, 0);
}

TEST_F(midi_out, sends_up_to_four_bytes_as_a_short_message) {
    const std::uint8_t bytes[5] = {0x91, 0x3C, 0x7F, 0x55, 0xF7};
    EXPECT_FALSE(port.putbuf(bytes, 3));
    EXPECT_EQ(err.take(), "putbuf(3): not opened.\n");
    ASSERT_TRUE(port.open(0u));
    service.calls.clear();
    EXPECT_TRUE(port.putbuf(bytes, 4) && port.putbuf(bytes, 5));
    service.messages_before_failure = 0;
    EXPECT_FALSE(port.putbuf(bytes, 3));
    EXPECT_TRUE(port.putbuf(bytes, 5)) << "long messages always succeed";
    EXPECT_EQ(service.calls,
              "short 91 3c 7f 55; long 91 3c 7f 55 f7; short 91 3c 7f 55; long 91 3c 7f 55 f7");
    EXPECT_EQ(err.text(), "");
}

} // namespace
