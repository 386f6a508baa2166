// Numeric fields of any text, one a line: the ends that the evaluator reports, and its numbers against the C
// library's.

#include "libutils/expression.h"
#include "fuzz/target.h"
#include "libutils/number.h"

#include <cstring>

using fuzz::demand;

// An integer that begins with "0b", which only newer C libraries read as binary.
[[maybe_unused]] static bool is_binary(const char* text) {
    text += std::strspn(text, " \t\n\v\f\r");
    text += *text == '+' || *text == '-';
    return text[0] == '0' && (text[1] == 'b' || text[1] == 'B');
}

static void check(const char* begin) {
    const char* const text_end = begin + std::strlen(begin);
    const char* end = nullptr;
    {
        const fuzz::messages messages;
        libutils::evaluate(begin, &end);
        demand(end >= begin && end <= text_end, "the end lies in the text");
        demand(std::strchr("\r,", *end) || messages.text().find("invalid char") != std::string::npos,
               "the field ends at a terminator, or what ended it was reported");
    }
    float value = 0;
    if (begin[0] >= '0' && begin[0] <= '9') {
        char* library_end = nullptr;
        const float expected = std::strtof(begin, &library_end);
        demand(libutils::read_number(begin, value) == library_end && value == expected,
               "numbers are the C library's");
    }
    demand(libutils::read_float(begin, value) <= text_end, "a decimal number lies in the text");
    demand(libutils::read_unsigned(begin, &end) == libutils::read_unsigned(begin), "the end changes nothing");
    demand(end >= begin && end <= text_end, "an integer lies in the text");
#ifndef _WIN32 // whose C library ends "0x" elsewhere
    if (is_binary(begin)) return;
    char* library_end = nullptr;
    const long long expected = std::strtoll(begin, &library_end, 0);
    demand(end == library_end, "an integer ends where the C library's does");
    demand(libutils::read_signed(begin) == std::clamp<long long>(expected, INT32_MIN, INT32_MAX),
           "an integer is the C library's, or the nearest that there is");
    const bool fits = expected >= -0xFFFFFFFFll && expected <= 0xFFFFFFFFll;
    demand(libutils::read_unsigned(begin) == (fits ? std::uint32_t(expected) : 0xFFFFFFFF),
           "below 0 it wraps around, beyond 32 bits it is the largest");
#endif
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    for (const char* line = text.c_str(); line; line = std::strchr(line, '\n')) {
        line += *line == '\n';
        check(line);
    }
    return 0;
}
