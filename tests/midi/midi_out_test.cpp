#include "midi/midi_out.h"
#include "support/capture.h"
#include "support/recording_service.h"

#include <gtest/gtest.h>
#include <iostream>

namespace {

using calls = std::vector<std::string>;
using test_support::capture;
using test_support::recording_service;

TEST(midi_out, opens_in_the_services_order) {
    recording_service service({"Alpha Synth", "Beta Synth", "Gamma"});
    struct {
        const char* name; // null: by number
        std::uint32_t number;
        calls expected;
        std::string out, err, opened;
    } const cases[] = {
        {nullptr,
         2,
         {"count", "name 0", "name 1", "name 2", "open 2"},
         "select write device: 2: Gamma\n",
         "",
         "Gamma"},
        {"Synth",
         0,
         {"count", "name 0", "open 0"},
         "select write device: 0: Alpha Synth\n",
         "",
         "Alpha Synth"},
        {"Beta",
         0,
         {"count", "name 0", "name 1", "open 1"},
         "select write device: 1: Beta Synth\n",
         "",
         "Beta Synth"},
        {"", 0, {"count", "name 0", "open 0"}, "select write device: 0: Alpha Synth\n", "", "Alpha Synth"},
        {"synth", 0, {"count", "name 0", "name 1", "name 2"}, "", "synth: device name not found.\n", ""},
        {nullptr, 3, {"count"}, "", "3>= 3: devid over.\n", ""},
        {nullptr, std::uint32_t(-1), {"count"}, "", "-1>= 3: devid over.\n", ""},
    };
    for (const auto& c : cases) {
        service.clear();
        const auto port = midi::midi_out_t::create(service);
        capture out(std::cout), err(std::cerr);
        EXPECT_EQ(c.name ? port->open(c.name) : port->open(c.number), !c.opened.empty());
        EXPECT_EQ(service.calls, c.expected);
        EXPECT_EQ(out.text(), c.out);
        EXPECT_EQ(err.text(), c.err);
        EXPECT_EQ(port->name(), c.opened);
        EXPECT_EQ(port->isopen(), !c.opened.empty());
    }
}

TEST(midi_out, reports_the_service_that_fails) {
    recording_service service({"Alpha", "Beta", "Gamma"});
    midi::midi_out_t port(service);
    capture out(std::cout), err(std::cerr);

    service.device_without_name = 1;
    EXPECT_FALSE(port.open(2u));
    EXPECT_FALSE(port.open("Gamma"));
    EXPECT_EQ(err.take(), "1: GetDevCaps() error.\n1: GetDevCaps() error.\n");
    EXPECT_EQ(out.take(), "");
    EXPECT_TRUE(port.open(0u)) << "devices before the broken one still open";
    EXPECT_TRUE(port.close());

    service.device_without_name = -1;
    service.open_result = 4;
    EXPECT_FALSE(port.open(2u));
    EXPECT_EQ(err.take(), "DeviceID=2: can't open MIDI device.\n");
    EXPECT_EQ(port.name(), "Gamma");
    EXPECT_FALSE(port.isopen());

    service.names.clear();
    EXPECT_FALSE(port.open(0u));
    EXPECT_FALSE(port.open("Alpha"));
    EXPECT_EQ(err.take(), "0>= 0: devid over.\nAlpha: device name not found.\n");
}

TEST(midi_out, a_second_open_is_refused_silently) {
    recording_service service({"Alpha", "Beta"});
    midi::midi_out_t port(service);
    capture out(std::cout), err(std::cerr);
    ASSERT_TRUE(port.open(1u));
    service.clear();
    out.take();
    EXPECT_FALSE(port.open(0u));
    EXPECT_FALSE(port.open("Alpha"));
    EXPECT_EQ(out.text() + err.text(), "");
    EXPECT_TRUE(service.calls.empty());
    EXPECT_EQ(port.name(), "Beta");
}

TEST(midi_out, sends_up_to_four_bytes_as_a_short_message) {
    recording_service service;
    midi::midi_out_t port(service);
    capture out(std::cout), err(std::cerr);
    const std::uint8_t bytes[5] = {0x91, 0x3C, 0x7F, 0x55, 0xF7};
    EXPECT_FALSE(port.putbuf(bytes, 3));
    EXPECT_EQ(err.take(), "putbuf(3): not opened.\n");
    ASSERT_TRUE(port.open(0u));
    service.clear();
    EXPECT_TRUE(port.putbuf(bytes, 4));
    EXPECT_TRUE(port.putbuf(bytes, 5));
    service.short_result = service.long_result = 11;
    EXPECT_FALSE(port.putbuf(bytes, 3));
    EXPECT_TRUE(port.putbuf(bytes, 5)) << "long messages always succeed";
    EXPECT_EQ(service.calls, (calls{"short 91 3c 7f 55", "long 91 3c 7f 55 f7", "short 91 3c 7f 55",
                                    "long 91 3c 7f 55 f7"}));
    EXPECT_EQ(err.text(), "");
}

TEST(midi_out, closes_once) {
    recording_service service;
    capture out(std::cout), err(std::cerr);
    {
        midi::midi_out_t port(service);
        EXPECT_TRUE(port.close()) << "a closed port";
        ASSERT_TRUE(port.open(0u));
        service.clear();
        service.close_result = 5;
        EXPECT_FALSE(port.close());
        EXPECT_FALSE(port.isopen()) << "whatever the device says";
        EXPECT_TRUE(port.close());
        EXPECT_EQ(service.calls, calls{"close"});
        EXPECT_EQ(port.name(), "Recorder");
        ASSERT_TRUE(port.open(0u)) << "and opens again";
    }
    EXPECT_EQ(service.calls, (calls{"close", "count", "name 0", "open 0", "close"}));
    EXPECT_EQ(service.open_devices, 0);
    EXPECT_EQ(err.text(), "");
}

} // namespace
