#pragma once
// Reads the values of one line of a model file.

#include "libutils/number.h"

#include <cstdint>
#include <iosfwd>
#include <string_view>

namespace pmt3d {

// Reads values separated by one character, normally a comma, and skips that character. Values beyond the end
// of the line are 0. The line must come from a line_reader.
class field_reader {
public:
    // `error` is for what the evaluator of expressions reports; null: standard error.
    explicit field_reader(std::string_view values, std::ostream* error = nullptr)
        : at_(values.data()),
          end_(at_ + values.size()),
          error_(error) {}

    // An arithmetic expression (libutils::evaluate, with its reports).
    float expression();
    // The same for nothing but a number. False, with nothing taken, for others.
    bool plain_expression(float& value);
    // A plain decimal number. `ok`, when given, becomes false when there is none; it is not set to true.
    float decimal(bool* ok = nullptr) {
        float value = 0.0f;
        const char* const begin = behind_space();
        const char* const stop = begin < end_ ? libutils::read_float(begin, value) : begin;
        if (stop != begin)
            at_ = stop;
        else if (ok)
            *ok = false;
        if (stop == begin || !separated()) odd_ = true;
        skip_separator();
        return value;
    }
    // A plain decimal number, or what programs write for others: "nan", "inf" and "infinity", with a sign and
    // in any case.
    float any_number(bool* ok);
    // Automatic base: 0x hexadecimal, 0 octal. "-1" is 0xFFFFFFFF; too much for 32 bits is the most they
    // hold.
    std::uint32_t integer();
    // An integer of 0 to 255, of which only the lowest byte counts, as a part of 1.
    float byte_color() {
        constexpr float color_step = 0.003921569f; // 1 / 255
        return float(integer() % 256) * color_step;
    }
    // True when it begins with "true" or is an integer other than 0.
    bool boolean();

    // Whether something about the values read so far, or behind them, may be wrong and is worth a closer
    // look. False for lines as programs write them.
    bool odd() const { return odd_ || at_ < end_; }

private:
    bool separated() const { return at_ >= end_ || *at_ == ',' || *at_ == '\r'; }
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
    std::ostream* error_;
    bool odd_ = false;
};

} // namespace pmt3d
