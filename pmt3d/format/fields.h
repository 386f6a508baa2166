#pragma once
// The values of one line of a model file.

#include <cstdint>
#include <string_view>

namespace pmt3d {

// Reads values that are separated by one character each, normally a comma. After every value the reader
// stands behind that character; beyond the end of the line values are 0. The line must be one of
// line_reader's.
class field_reader {
public:
    explicit field_reader(std::string_view values) : at_(values.data()), end_(at_ + values.size()) {}

    // An arithmetic expression (libutils::evaluate, with its reports).
    float expression();
    // A plain decimal number. `ok`, when given, becomes false when there is none; it is not set to true.
    float decimal(bool* ok = nullptr);
    // Automatic base: 0x hexadecimal, 0 octal. "-1" is 0xFFFFFFFF; too much for 32 bits is the most they
    // hold.
    std::uint32_t integer();
    // True when it begins with "true" or is an integer other than 0.
    bool boolean();

private:
    bool skip_space(); // false at the end of the line
    void skip_separator() {
        if (at_ < end_) ++at_;
    }

    const char* at_;
    const char* end_;
};

} // namespace pmt3d
