// Numeric fields of any text: the ends that the evaluator reports, and its numbers against the C library's.

#include "libutils/expression.h"
#include "libutils/number.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <sstream>
#include <string>

namespace {

void demand(bool holds) {
    if (!holds) std::abort();
}

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::ostringstream messages;
    std::streambuf* before = std::cerr.rdbuf(messages.rdbuf());
    const char* end = nullptr;
    libutils::evaluate(text.c_str(), &end);
    std::cerr.rdbuf(before);

    demand(end >= text.c_str() && end <= text.c_str() + std::strlen(text.c_str()));
    // The field ends at a terminator, or what ended it was reported.
    demand(std::strchr("\r,", *end) || messages.str().find("invalid char") != std::string::npos);

    float value = 0;
    if (is_digit(text[0])) {
        char* library_end = nullptr;
        const float expected = std::strtof(text.c_str(), &library_end);
        demand(libutils::read_number(text.c_str(), value) == library_end && value == expected);
    }
    demand(libutils::read_float(text.c_str(), value) <= text.c_str() + text.size());
    demand(libutils::read_unsigned(text.c_str(), &end) == libutils::read_unsigned(text.c_str()));
    demand(end >= text.c_str() && end <= text.c_str() + text.size());
    return 0;
}
