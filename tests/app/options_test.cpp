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

TEST(options, values) {
    using o = options_t;
    struct {
        const char* option;
        std::uint32_t o::*member;
        const char* value;
        std::uint32_t expected;
        const char* complaint = "";
    } const cases[] = {
        {"-c", &o::channel, "15", 15},
        {"-c", &o::channel, "0x0f", 15},
        {"-c", &o::channel, "017", 15},
        {"-c", &o::channel, "08", 0},
        {"-c", &o::channel, "9x", 9},
        {"-c", &o::channel, "", 0},
        {"-c", &o::channel, "-4294967290", 6},
        {"-c", &o::channel, "16", 1, "16: channel number over.\n"},
        {"-c", &o::channel, "-1", 1, "4294967295: channel number over.\n"},
        {"-c", &o::channel, "-4294967279", 1, "17: channel number over.\n"},
        {"-c", &o::channel, "4294967296", 1, "4294967295: channel number over.\n"},
        {"-p", &o::program, "127", 127},
        {"-p", &o::program, "0x80", 0, "128: pgmchg number over.\n"},
        {"-n", &o::notebase, "127", 127},
        {"-n", &o::notebase, "128", 36, "128: notebase value over.\n"},
        {"-l", &o::velocity, "127", 127},
        {"-l", &o::velocity, "0200", 127, "128: velocity value over.\n"},
    };
    for (const auto& c : cases) {
        const reading got = read({c.option, c.value, "device"});
        EXPECT_EQ(got.complaint, c.complaint) << c.value;
        EXPECT_EQ(got.result, *c.complaint ? options_result::refused : options_result::complete) << c.value;
        EXPECT_EQ(got.options.*c.member, c.expected) << c.option << c.value;
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
