#include "libutils/number.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <sstream>
#include <string>

namespace {

using namespace libutils;

// The C library's own conversion, in the "C" locale that tests run in, is the measure.
void expect_as_the_library(const std::string& text) {
    char* library_end = nullptr;
    const float expected = std::strtof(text.c_str(), &library_end);
    float is = -1;
    const char* end = read_number(text.c_str(), is);
    EXPECT_EQ(is, expected) << text;
    EXPECT_EQ(end - text.c_str(), library_end - text.c_str()) << text;
}

TEST(read_number, takes_what_the_library_takes) {
    const std::string zeros(400, '0');
    const std::string texts[] = {
        "0", "1", "00012.50", "1.", "1.e5", "1e5x", "1e", "1e+", "1e+-5", "1E-3", "1.2.3", "1,5",
        "3.4028235e38", "3.4028236e38", "3.5e38", "1e400", "1e99999999999999999999", "0e999", "1e-38",
        "1e-45", "7e-46", "7.1e-46", "1e-400", "1e-99999999999999999999", "1" + zeros, "0." + zeros + "1",
        "1" + zeros + "e-400", "0." + zeros + "1e401", "0." + zeros + "0e9",
        // In the middle between two floats, and a shade off it: below, through the double's rounding, far
        // behind.
        "16777217", "16777219", "16777217.0000000001", "16777217." + zeros + "1", "1.00000005960464477539062",
        "9007199254740993", "0.000000000000000000000012345", "123456789012345e22",
        // Hexadecimal
        "0x", "0x.", "0xg", "0x10", "0XaBc", "0x.8", "0x1.", "0x1.8p3", "0x1p", "0x1p-", "0x1.000001p0",
        "0x1.0000010000000000000001p0", "0x1.0000030p0", "0x1p-149", "0x1p-150", "0x1.8p-150",
        "0x1.fffffep127", "0x1.ffffffp127", "0x1p99999999999", "0x1p-99999999999", "0x1" + zeros,
        "0x." + zeros + "1", "0x." + zeros + "1p1604"};
    for (const std::string& text : texts)
        expect_as_the_library(text);
}

TEST(read_number, is_rounded_right) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 100000; ++i) {
        char text[64];
        // Floats of any size with too few, enough and too many digits; then digits around the middle of two
        // floats.
        const float value = std::fabs(std::bit_cast<float>(std::uint32_t(random())));
        if (!std::isfinite(value)) continue;
        std::snprintf(text, sizeof text, "%.*g", int(random() % 20) + 1, double(value));
        expect_as_the_library(text);
        const double middle = (double(value) + std::nextafter(value, 0.0f)) / 2;
        std::snprintf(text, sizeof text, "%.*g", int(random() % 20) + 1, middle);
        expect_as_the_library(text);
        std::snprintf(text, sizeof text, "%a", middle);
        expect_as_the_library(text);
    }
}

TEST(read_float, decimal_with_space_and_sign) {
    const struct {
        const char* text;
        float value;
        std::size_t end;
    } cases[] = {
        {"1.5,2", 1.5f, 3}, {" \t-.5\r", -0.5f, 5},
        {"+2e1", 20, 4},    {"-0", -0.0f, 2},
        {"", 0, 0},         {" ", 0, 0},
        {"-", 0, 0},        {".", 0, 0},
        {"-.e1", 0, 0},     {"nan", 0, 0},
        {"inf", 0, 0},      {"- 1", 0, 0},
        {"0x10", 0, 1},     {"1e", 1, 1},
        {"5.", 5, 2},       {"-1e40", -INFINITY, 5},
    };
    for (const auto& c : cases) {
        float value = -7;
        const char* end = read_float(c.text, value);
        EXPECT_EQ(value, c.value) << c.text;
        EXPECT_EQ(std::signbit(value), std::signbit(c.value)) << c.text;
        EXPECT_EQ(std::size_t(end - c.text), c.end) << c.text;
    }
}

TEST(read_integer, automatic_base_and_saturation) {
    const struct {
        const char* text;
        std::uint32_t value;
        std::int32_t with_sign;
        std::size_t end;
    } cases[] = {
        {"0", 0, 0, 1},
        {"10,", 10, 10, 2},
        {" \n\v+7", 7, 7, 5},
        {"0x1Fg", 31, 31, 4},
        {"0XaB", 171, 171, 4},
        {"017", 15, 15, 3},
        {"089", 0, 0, 1},
        {"0x", 0, 0, 1},
        {"0xg", 0, 0, 1},
        {"-1", 0xFFFFFFFF, -1, 2},
        {"-0x10", 0xFFFFFFF0, -16, 5},
        {"2147483647", 2147483647, 2147483647, 10},
        {"2147483648", 2147483648u, 2147483647, 10},
        {"-2147483648", 2147483648u, -2147483647 - 1, 11},
        {"-2147483649", 2147483647u, -2147483647 - 1, 11},
        {"4294967295", 4294967295u, 2147483647, 10},
        {"4294967296", 4294967295u, 2147483647, 10},
        {"-4294967295", 1, -2147483647 - 1, 11},
        {"-4294967296", 4294967295u, -2147483647 - 1, 11},
        {"0xfffffffffffffffffffff", 4294967295u, 2147483647, 23},
        {"", 0, 0, 0},
        {" ", 0, 0, 0},
        {"+-1", 0, 0, 0},
        {"a", 0, 0, 0},
    };
    for (const auto& c : cases) {
        const char *end, *signed_end;
        EXPECT_EQ(read_unsigned(c.text, &end), c.value) << c.text;
        EXPECT_EQ(read_signed(c.text, &signed_end), c.with_sign) << c.text;
        EXPECT_EQ(std::size_t(end - c.text), c.end) << c.text;
        EXPECT_EQ(signed_end, end) << c.text;
        EXPECT_EQ(read_unsigned(c.text), c.value);
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
