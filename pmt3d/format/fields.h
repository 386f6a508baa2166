#pragma once
// Reads the values of one line of a model file.

#include "libutils/number.h"

#include <cstdint>
#include <string_view>

namespace pmt3d {

// Reads values separated by one character, normally a comma, and skips that character. Values beyond the end
// of the line are 0. The line must come from a line_reader.
class field_reader {
public:
    explicit field_reader(std::string_view values) : at_(values.data()), end_(at_ + values.size()) {}

    // An arithmetic expression (libutils::evaluate, with its reports).
    float expression();
    // A plain decimal number. `ok`, when given, becomes false when there is none; it is not set to true.
    float decimal(bool* ok = nullptr) {
        float value = 0.0f;
        const char* const begin = behind_space();
        const char* const stop = begin < end_ ? libutils::read_float(begin, value) : begin;
        if (stop != begin)
            at_ = stop;
        else if (ok)
            *ok = false;
        skip_separator();
        return value;
    }
    // Automatic base: 0x hexadecimal, 0 octal. "-1" is 0xFFFFFFFF; too much for 32 bits is the most they
    // hold.
    std::uint32_t integer();
    // True when it begins with "true" or is an integer other than 0.
    bool boolean();

private:
    // The readers of numbers pass over white space themselves, but would go on into the next line.
    const char* behind_space() const {
        const char* p = at_;
        while (p < end_ && (*p == ' ' || (*p >= '\t' && *p <= '\r')))
            ++p;
        return p;
    }
    void skip_separator() {
        if (at_ < end_) ++at_;
    }

    const char* at_;
    const char* end_;
};

} // namespace pmt3d
