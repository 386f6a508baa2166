#pragma once
// Numbers in text, read and written the same on every system and in every locale. All readers take
// zero-terminated text and stop at the first character that cannot belong to the number; none allocates.

#include <cstdint>
#include <iosfwd>
#include <string_view>

namespace libutils {

// An unsigned number whose first character is a decimal digit, as the standard string-to-float conversion
// takes it: decimal or, after 0x, hexadecimal, each with fraction and exponent, rounded to nearest; too large
// gives infinity, too small a denormal or 0. Stores the value and returns where the number ended.
const char* read_number(const char* text, float& value);

// A decimal number after white space and a sign, if any: digits, fraction, exponent. Returns where it ended;
// without digits the value is 0 and the result is `text`.
const char* read_float(const char* text, float& value);

// Integers after white space and a sign, if any, with automatic base: 0x is hexadecimal, another leading 0
// octal. Without digits the value is 0 and `end` is `text`. A minus sign wraps the unsigned value around
// ("-1" is 0xFFFFFFFF). What 32 bits cannot hold becomes the number next to it that they can; for the
// unsigned reading that is the largest one, whatever the sign.
std::uint32_t read_unsigned(const char* text, const char** end = nullptr);
std::int32_t read_signed(const char* text, const char** end = nullptr);

// A number as an untouched stream writes it: so many significant digits, the shorter of fixed and exponent
// form.
class float_text {
public:
    explicit float_text(double value, int significant_digits = 6); // up to 17 digits
    operator std::string_view() const { return {text_, size_}; }
    friend std::ostream& operator<<(std::ostream& os, const float_text& text);

private:
    char text_[32];
    std::size_t size_;
};

} // namespace libutils
