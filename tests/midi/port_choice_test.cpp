#include "midi/port_choice.h"
#include "support/capture.h"
#include "support/recording_service.h"

#include <gtest/gtest.h>

TEST(port_choice, lists_the_devices_that_have_a_name) {
    test_support::recording_service service({"Alpha", "Beta"});
    service.device_without_name = 1;
    std::ostringstream out;
    const test_support::capture err(std::cerr);
    EXPECT_FALSE(midi::listdevices(out, service));
    EXPECT_EQ(out.str(), "\noutput devices:\n0: Alpha\n");
    EXPECT_EQ(err.text(), "1: GetDevCaps() error.\n");
}

TEST(port_choice, reads_device_arguments) {
    std::istringstream numbers("- -1  -0 -1  -3 -4  -0x10 -17  0x1F 31  010 8  2147483648 2147483647  "
                               "99999999999999999999999 2147483647  -2147483647 -2147483648  "
                               "-99999999999999999999999 -2147483648");
    std::int32_t number = 0;
    for (std::string argument; numbers >> argument >> number;) {
        EXPECT_FALSE(midi::parsedevice(argument.c_str()).has_name) << argument;
        EXPECT_EQ(midi::parsedevice(argument.c_str()).number, number) << argument;
    }
    EXPECT_EQ(number, INT32_MIN) << "all are read";
    for (const char* name : {"-5a", "--1", "08", "0x", "1 ", " 1", "+1", ""}) {
        EXPECT_TRUE(midi::parsedevice(name).has_name) << name;
        EXPECT_EQ(midi::parsedevice(name).number, 0) << name;
    }
}
