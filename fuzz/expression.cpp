// Numeric fields of any text: the ends that the evaluator reports, and its numbers against the C library's.

#include "libutils/expression.h"
#include "fuzz/target.h"
#include "libutils/number.h"

#include <cstring>

using fuzz::demand;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const char* const begin = text.c_str();
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
    if (text[0] >= '0' && text[0] <= '9') {
        char* library_end = nullptr;
        const float expected = std::strtof(begin, &library_end);
        demand(libutils::read_number(begin, value) == library_end && value == expected,
               "numbers are the C library's");
    }
    demand(libutils::read_float(begin, value) <= text_end, "a decimal number lies in the text");
    demand(libutils::read_unsigned(begin, &end) == libutils::read_unsigned(begin), "the end changes nothing");
    demand(end >= begin && end <= text_end, "an integer lies in the text");
    return 0;
}
