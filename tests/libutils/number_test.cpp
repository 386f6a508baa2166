#include "libutils/number.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <sstream>
#include <string>

namespace {

using namespace libutils;

TEST(read_float, decimal_with_space_and_sign) {
    const struct {
        const char* text;
        float value;
        std::ptrdiff_t end;
    } cases[] = {{"1.5,2", 1.5f, 3}, {" \t-.5\r", -0.5f, 5}, {"+2e1", 20, 4}, {"-0", -0.0f, 2},
                 {" ", 0, 0},        {"-.e1", 0, 0},         {"nan", 0, 0},   {"- 1", 0, 0},
                 {"0x10", 0, 1},     {"1e", 1, 1},           {"5.", 5, 2},    {"-1e40", -INFINITY, 5}};
    for (const auto& [text, expected, end] : cases) {
        float value = -7;
        EXPECT_EQ(read_float(text, value) - text, end) << text;
        EXPECT_EQ(value, expected) << text;
        EXPECT_EQ(std::signbit(value), std::signbit(expected)) << text;
    }
}

TEST(float_text, is_what_an_untouched_stream_writes) {
    std::mt19937 random(2);
    for (int i = 0; i < 20000; ++i) {
        const float value = i < 100 ? float(i - 50) / 8 : std::bit_cast<float>(std::uint32_t(random()));
        if (std::isnan(value)) continue;
        std::ostringstream is, expected, fine;
        is << float_text(value);
        expected << value;
        EXPECT_EQ(is.str(), expected.str());
        fine.precision(9);
        fine << value;
        EXPECT_EQ(std::string_view(float_text(value, 9)), fine.str());
    }
    EXPECT_EQ(std::string_view(float_text(-std::numeric_limits<double>::max(), 99)),
              "-1.7976931348623157e+308");
}

} // namespace
