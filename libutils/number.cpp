#include "libutils/number.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>
#include <ostream>

namespace libutils {

namespace {

bool is_digit(char c) {
    return unsigned(c - '0') < 10;
}
bool is_space(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// The value of a digit of bases up to 16; 16 for another character.
unsigned digit_value(char c) {
    if (is_digit(c)) return unsigned(c - '0');
    const unsigned letter = unsigned((c | 0x20) - 'a');
    return letter < 6 ? letter + 10 : 16;
}

// Reads an exponent part (letter, a sign if any, digits) and adds it to `exponent`. Returns its end, or `at`
// when there is none.
const char* add_exponent(const char* at, char letter, std::int64_t& exponent) {
    if ((*at | 0x20) != letter) return at;
    const char* p = at + 1;
    const bool negative = *p == '-';
    if (*p == '-' || *p == '+') ++p;
    if (!is_digit(*p)) return at;
    // Beyond any number's range, and far from overflowing in sums with the length of a text.
    constexpr std::int64_t limit = 1'000'000'000'000'000;
    std::int64_t value = 0;
    for (; is_digit(*p); ++p)
        value = std::min(value * 10 + (*p - '0'), limit);
    exponent += negative ? -value : value;
    return p;
}

constexpr double powers_of_ten[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                    1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// Unsigned decimal; `text` and 0 when there are no digits.
const char* read_decimal(const char* text, float& value) {
    value = 0.0f;
    const char* p = text;
    std::uint64_t mantissa = 0; // of all digits, as long as they are few
    const auto skip_digits = [&p, &mantissa] {
        for (; is_digit(*p); ++p)
            mantissa = mantissa * 10 + unsigned(*p - '0');
    };
    skip_digits();
    const char* point = p;
    const char* first = text;
    std::int64_t exponent = 0;
    if (*p == '.') {
        ++p;
        skip_digits();
        exponent = point + 1 - p;
    }
    std::ptrdiff_t digits = p - text - (p != point);
    if (digits == 0) return text;
    p = add_exponent(p, 'e', exponent);

    // Most numbers: both mantissa and power of ten are doubles, so the double quotient or product is right to
    // its last bit, and so is the float next to it, unless the double fell on the middle between two floats.
    if (digits <= 15 && exponent >= -22 && exponent <= 22) {
        const double exact = exponent < 0 ? double(mantissa) / powers_of_ten[-exponent]
                                          : double(mantissa) * powers_of_ten[exponent];
        constexpr std::uint64_t below_float = (1 << 29) - 1, middle = 1 << 28;
        if ((std::bit_cast<std::uint64_t>(exact) & below_float) != middle) {
            value = float(exact);
            return p;
        }
    }
    if (std::from_chars(first, p, value).ec == std::errc()) return p;
    // Out of range: where the first digit that counts stands tells on which side.
    for (; (*first == '0' || *first == '.') && digits > 0; ++first)
        digits -= *first == '0';
    value = digits > 0 && digits + exponent > 0 ? std::numeric_limits<float>::infinity() : 0.0f;
    return p;
}

// Unsigned hexadecimal behind its 0x; null when no digit follows.
const char* read_hexadecimal(const char* text, float& value) {
    constexpr std::uint64_t full = std::uint64_t(1) << 48; // digits beyond are only asked whether they are 0
    std::uint64_t mantissa = 0;
    std::int64_t exponent = 0;
    bool any = false, rest = false;
    const char* p = text;
    const auto take_digits = [&](int exponent_per_digit) {
        for (unsigned digit; (digit = digit_value(*p)) < 16; ++p) {
            any = true;
            exponent += exponent_per_digit;
            if (mantissa < full)
                mantissa = mantissa * 16 + digit;
            else {
                rest = rest || digit != 0;
                exponent += 4;
            }
        }
    };
    take_digits(0);
    if (*p == '.') {
        ++p;
        take_digits(-4);
    }
    if (!any) return nullptr;
    p = add_exponent(p, 'p', exponent);
    // A double holds the mantissa and the mark of the rest, so that only the step to float rounds.
    const double exact = double(mantissa) + (rest ? 0.5 : 0.0);
    value = float(std::ldexp(exact, int(std::clamp<std::int64_t>(exponent, -10000, 10000))));
    return p;
}

// Magnitude, sign and end of an integer with automatic base. The magnitude saturates.
struct integer {
    std::uint64_t magnitude = 0;
    bool negative = false;
};
constexpr std::uint64_t beyond_32_bits = std::uint64_t(1) << 32;

integer read_integer(const char* text, const char** end) {
    const char* p = text;
    while (is_space(*p))
        ++p;
    integer result;
    result.negative = *p == '-';
    if (*p == '-' || *p == '+') ++p;
    unsigned base = 10;
    if (*p == '0') base = (p[1] | 0x20) == 'x' && digit_value(p[2]) < 16 ? 16 : 8;
    if (base == 16) p += 2;
    const char* digits = p;
    for (unsigned digit; (digit = digit_value(*p)) < base; ++p)
        result.magnitude = std::min(result.magnitude * base + digit, beyond_32_bits);
    if (end) *end = p == digits ? text : p;
    return result;
}

} // namespace

const char* read_number(const char* text, float& value) {
    if (text[0] == '0' && (text[1] | 0x20) == 'x')
        if (const char* end = read_hexadecimal(text + 2, value)) return end;
    return read_decimal(text, value);
}

const char* read_float(const char* text, float& value) {
    const char* p = text;
    while (is_space(*p))
        ++p;
    const bool negative = *p == '-';
    if (*p == '-' || *p == '+') ++p;
    const char* end = read_decimal(p, value);
    if (end == p) return text;
    if (negative) value = -value;
    return end;
}

std::uint32_t read_unsigned(const char* text, const char** end) {
    const integer i = read_integer(text, end);
    if (i.magnitude >= beyond_32_bits) return std::numeric_limits<std::uint32_t>::max();
    const auto magnitude = std::uint32_t(i.magnitude);
    return i.negative ? 0 - magnitude : magnitude;
}

std::int32_t read_signed(const char* text, const char** end) {
    const integer i = read_integer(text, end);
    const auto value = i.negative ? -std::int64_t(i.magnitude) : std::int64_t(i.magnitude);
    using limits = std::numeric_limits<std::int32_t>;
    return std::int32_t(std::clamp<std::int64_t>(value, limits::min(), limits::max()));
}

float_text::float_text(double value, int significant_digits)
    : size_(std::size_t(std::to_chars(text_, std::end(text_), value, std::chars_format::general,
                                      std::clamp(significant_digits, 1, 17))
                            .ptr -
                        text_)) {}

std::ostream& operator<<(std::ostream& os, const float_text& text) {
    return os << std::string_view(text);
}

} // namespace libutils
