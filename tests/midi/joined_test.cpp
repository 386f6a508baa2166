#include "midi/drivers/joined.h"
#include "midi/port_choice.h"
#include "support/recording_service.h"

#include <gtest/gtest.h>
#include <sstream>

using test_support::recording_service;

TEST(joined_outputs, number_the_devices_of_all_services) {
    midi::joined_outputs joined;
    std::vector<recording_service*> parts;
    for (const std::vector<std::string>& names : {std::vector<std::string>{"A", "B"}, {}, {"C"}}) {
        auto part = std::make_unique<recording_service>(names);
        parts.push_back(part.get());
        joined.add(std::move(part));
    }
    std::ostringstream out;
    EXPECT_TRUE(midi::listdevices(out, joined));
    EXPECT_EQ(out.str(), "\noutput devices:\n0: A\n1: B\n2: C\n");

    // A device that appears is not seen before the next count, so that numbers keep meaning what was listed.
    parts[1]->names.push_back("New");
    parts[2]->calls.clear();
    std::unique_ptr<midi::output_device_t> device;
    EXPECT_EQ(joined.open(2, device), midi::no_error);
    EXPECT_EQ(parts[2]->calls, "open 0");
    std::string name;
    EXPECT_NE(joined.device_name(3, name), midi::no_error);
    EXPECT_NE(joined.open(3, device), midi::no_error);
    EXPECT_EQ(joined.device_count(), 4u);
    parts[0]->open_result = 4;
    EXPECT_EQ(joined.open(1, device), 4u) << "the service's own code";
}
