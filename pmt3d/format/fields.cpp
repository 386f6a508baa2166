#include "pmt3d/format/fields.h"

#include "libutils/expression.h"
#include "libutils/number.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

namespace pmt3d {

bool field_reader::plain_expression(float& value) {
    const char* p = at_;
    while (*p == ' ' || *p == '\t')
        ++p;
    const bool negative = *p == '-';
    if (negative) ++p;
    if (*p < '0' || *p > '9') return false;
    p = libutils::read_number(p, value);
    if (p < end_ && *p != ',' && *p != '\r' && *p != '\0') return false;
    if (negative) value = 0.0f - value; // a sum, in which there is no -0
    at_ = p;
    skip_separator();
    return true;
}

float field_reader::expression() {
    // Only others than plain numbers take the long way, which wants text that ends with a 0.
    if (float number; plain_expression(number)) return number;
    odd_ = true;
    const std::string text(at_, end_);
    const char* stop = nullptr;
    const auto value = float(libutils::evaluate(text.c_str(), &stop, error_));
    at_ += stop - text.c_str();
    skip_separator();
    return value;
}

float field_reader::any_number(bool* ok) {
    const char* p = behind_space();
    const bool negative = p < end_ && *p == '-';
    if (p < end_ && (*p == '-' || *p == '+')) ++p;
    const auto take = [&](std::string_view word) {
        if (std::size_t(end_ - p) < word.size() ||
            !std::equal(word.begin(), word.end(), p,
                        [](char wanted, unsigned char c) { return wanted == (c | 0x20); }))
            return false;
        at_ = p + word.size();
        skip_separator();
        return true;
    };
    constexpr float infinity = std::numeric_limits<float>::infinity();
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    if (take("infinity") || take("inf")) return negative ? -infinity : infinity;
    if (take("nan")) return std::copysign(nan, negative ? -1.0f : 1.0f);
    return decimal(ok);
}

std::uint32_t field_reader::integer() {
    const char* const begin = behind_space();
    const char* stop = begin;
    const std::uint32_t value = begin < end_ ? libutils::read_unsigned(begin, &stop) : 0;
    if (stop != begin) at_ = stop;
    if (stop == begin || !separated()) odd_ = true;
    skip_separator();
    return value;
}

bool field_reader::boolean() {
    odd_ = true;
    if (std::string_view(at_, end_).starts_with("true")) return true;
    return integer() != 0;
}

} // namespace pmt3d
