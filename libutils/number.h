#pragma once
// Reads and writes numbers in text, the same on every system and in every locale. All readers take
// zero-terminated text and stop at the first character that cannot belong to the number; none allocates.

#include <cstdint>
#include <iosfwd>
#include <string_view>

namespace libutils {

// Reads an unsigned number that begins with a decimal digit, like the standard string-to-float conversion:
// decimal or, after 0x, hexadecimal, with fraction and exponent, rounded to nearest. Too large a number gives
// infinity, too small a one a denormal or 0. Stores the value and returns the end of the number.
const char* read_number(const char* text, float& value);

// Reads a decimal number (digits, fraction, exponent) after optional white space and sign. Returns its end;
// without digits the value is 0 and the result is `text`.
const char* read_float(const char* text, float& value);

// Read an integer after optional white space and sign, with automatic base: 0x is hexadecimal, another
// leading 0 octal. Without digits the value is 0 and `end` is `text`. A minus sign wraps the unsigned value
// around
// ("-1" is 0xFFFFFFFF). A value that 32 bits cannot hold becomes the nearest one that they can; for the
// unsigned reader that is the largest, whatever the sign.
std::uint32_t read_unsigned(const char* text, const char** end = nullptr);
std::int32_t read_signed(const char* text, const char** end = nullptr);

// A number as a stream writes it by default: with that many significant digits, in the shorter of fixed and
// exponent form.
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
