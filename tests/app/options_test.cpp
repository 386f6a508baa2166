#include "app/options.h"

#include "support/capture.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

using namespace quenvarel;

namespace {

struct reading {
    options_result result;
    options_t options;
    std::string complaint;
};

reading read(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "program");
    const int count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    reading got = {};
    test_support::capture errors(std::cerr);
    got.result = read_options(count, arguments.data(), got.options);
    got.complaint = errors.text();
    return got;
}

TEST(options, values_in_all_notations) {
    struct {
        const char* text;
        std::uint32_t value;
    } const cases[] = {{"0", 0},  {"15", 15},         {"0x0f", 15}, {"017", 15},
                       {"+7", 7}, {" 7", 7},          {"9x", 9},    {"08", 0},
                       {"", 0},   {"x", 0},           {"-", 0},     {"-0", 0},
                       {"0x", 0}, {"-4294967290", 6}, {"1 2", 1},   {"00000000000000000000000012", 10}};
    for (const auto& c : cases) {
        const reading got = read({"-c", c.text, "device"});
        EXPECT_EQ(got.result, options_result::complete) << c.text;
        EXPECT_EQ(got.options.channel, c.value) << c.text;
    }
}

TEST(options, ranges) {
    struct {
        const char *option, *value, *complaint;
    } const cases[] = {
        {"-c", "15", ""},
        {"-c", "16", "16: channel number over.\n"},
        {"-c", "-1", "4294967295: channel number over.\n"},
        {"-c", "-4294967279", "17: channel number over.\n"},
        {"-c", "4294967296", "4294967295: channel number over.\n"},
        {"-c", "-18446744073709551615", "4294967295: channel number over.\n"},
        {"-p", "127", ""},
        {"-p", "0x80", "128: pgmchg number over.\n"},
        {"-n", "127", ""},
        {"-n", "128", "128: notebase value over.\n"},
        {"-l", "127", ""},
        {"-l", "0200", "128: velocity value over.\n"},
    };
    for (const auto& c : cases) {
        const reading got = read({c.option, c.value, "device"});
        EXPECT_EQ(got.complaint, c.complaint) << c.value;
        EXPECT_EQ(got.result, *c.complaint ? options_result::refused : options_result::complete) << c.value;
    }
}

TEST(options, where_the_device_argument_is) {
    struct {
        std::vector<const char*> arguments;
        const char* device; // null: usage
    } const cases[] = {
        {{"1", "-c", "99"}, "1"},
        {{"-"}, "-"},
        {{"-cc", "3"}, "-cc"},
        {{"-c", "2", "-5"}, "-5"},
        {{""}, ""},
        {{"-c", "-c", "-c"}, nullptr}, // "-c" is the value of the first, and the second has none
        {{"-c", "2"}, nullptr},
        {{"-n", "3", "-l"}, nullptr},
    };
    for (const auto& c : cases) {
        const reading got = read(c.arguments);
        EXPECT_EQ(got.result, c.device ? options_result::complete : options_result::usage);
        EXPECT_STREQ(got.options.device, c.device);
        EXPECT_EQ(got.complaint, "");
    }
}

TEST(options, all_of_them_and_none) {
    const auto values = [](const options_t& o) {
        return std::array{o.channel, o.program, o.notebase, o.velocity, std::uint32_t(o.program_given)};
    };
    EXPECT_EQ(values(read({"synth"}).options), (std::array{1u, 0u, 36u, 127u, 0u}));
    EXPECT_EQ(values(read({"-l", "5", "-n", "4", "-p", "0", "-c", "2", "synth", "-c"}).options),
              (std::array{2u, 0u, 4u, 5u, 1u}));
}

} // namespace
