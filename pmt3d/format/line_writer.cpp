#include "pmt3d/format/line_writer.h"

#include "libutils/error_report.h"
#include "libutils/number.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iostream>
#include <iterator>

namespace pmt3d {

line_writer& line_writer::number(float value) {
    // Whole numbers of up to six digits, the most frequent ones, are written as they are in either form.
    if (std::fabs(value) < 1e6f && value == float(int(value)) && (value != 0.0f || !std::signbit(value))) {
        char digits[16];
        buffer_.append(digits, std::to_chars(digits, std::end(digits), int(value)).ptr);
    } else
        buffer_.append(std::string_view(libutils::float_text(double(value))));
    return *this;
}

line_writer& line_writer::integer(std::uint64_t value) {
    char digits[24];
    buffer_.append(digits, std::to_chars(digits, std::end(digits), value).ptr);
    return *this;
}

void line_writer::refuse() {
    if (!refused_) {
        libutils::error_report();
        std::string line = buffer_.substr(line_);
        std::replace_if(
            line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r'; }, '?');
        std::cerr << '"' << line << "\" could not be read back, nothing is saved.\n";
    }
    refused_ = true;
    good_ = false;
}

bool line_writer::flush() {
    good_ = good_ && sink_(buffer_);
    if (progress_) progress_(std::min(written_, expected_), expected_);
    buffer_.clear();
    line_ = 0;
    return good_;
}

} // namespace pmt3d
