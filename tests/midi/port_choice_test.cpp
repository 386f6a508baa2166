#include "midi/port_choice.h"
#include "support/capture.h"
#include "support/recording_service.h"

#include <gtest/gtest.h>
#include <iostream>
#include <sstream>

namespace {

using test_support::capture;
using test_support::recording_service;

TEST(port_choice, lists_devices) {
    recording_service service({"Alpha", "Beta"});
    std::ostringstream out;
    EXPECT_TRUE(midi::listdevices(out, service));
    EXPECT_EQ(out.str(), "\noutput devices:\n0: Alpha\n1: Beta\n");

    out.str({});
    capture err(std::cerr);
    service.device_without_name = 1;
    EXPECT_FALSE(midi::listdevices(out, service));
    EXPECT_EQ(out.str(), "\noutput devices:\n0: Alpha\n");
    EXPECT_EQ(err.text(), "1: GetDevCaps() error.\n");

    out.str({});
    service.names.clear();
    EXPECT_TRUE(midi::listdevices(out, service));
    EXPECT_EQ(out.str(), "\noutput devices:\n");
}

TEST(port_choice, reads_device_arguments) {
    const struct {
        const char* argument;
        bool has_name;
        std::int32_t number;
    } cases[] = {
        {"-", false, -1},
        {"-1", false, -2},
        {"-3", false, -4},
        {"-0", false, -1},
        {"-0x10", false, -17},
        {"-x", true, 0},
        {"-5a", true, 0},
        {"--1", true, 0},
        {"0", false, 0},
        {"1", false, 1},
        {"0x1F", false, 31},
        {"010", false, 8},
        {"08", true, 0},
        {"0x", true, 0},
        {"2x", true, 0},
        {"1a", true, 0},
        {"1 ", true, 0},
        {" 1", true, 0},
        {"+1", true, 0},
        {"", true, 0},
        {"FluidSynth", true, 0},
        {"2147483647", false, 2147483647},
        {"2147483648", false, 2147483647},
        {"99999999999999999999999", false, 2147483647},
        {"-2147483647", false, INT32_MIN},
        {"-2147483648", false, INT32_MIN},
        {"-99999999999999999999999", false, INT32_MIN},
    };
    for (const auto& c : cases) {
        const midi::device_argument_t parsed = midi::parsedevice(c.argument);
        EXPECT_EQ(parsed.has_name, c.has_name) << c.argument;
        EXPECT_EQ(parsed.number, c.number) << c.argument;
    }
}

} // namespace
