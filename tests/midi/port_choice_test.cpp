#include "midi/port_choice.h"
#include "support/capture.h"
#include "support/recording_service.h"

#include <gtest/gtest.h>

namespace {

TEST(port_choice, lists_devices) {
    const struct {
        std::vector<std::string> names;
        int nameless;
        std::string list, err;
    } cases[] = {{{"Alpha", "Beta"}, -1, "0: Alpha\n1: Beta\n", ""},
                 {{"Alpha", "Beta"}, 1, "0: Alpha\n", "1: GetDevCaps() error.\n"},
                 {{}, -1, "", ""}};
    for (const auto& c : cases) {
        test_support::recording_service service(c.names);
        service.device_without_name = c.nameless;
        std::ostringstream out;
        const test_support::capture err(std::cerr);
        EXPECT_EQ(midi::listdevices(out, service), c.err.empty());
        EXPECT_EQ(out.str(), "\noutput devices:\n" + c.list);
        EXPECT_EQ(err.text(), c.err);
    }
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

} // namespace
