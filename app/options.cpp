#include "app/options.h"

#include "libutils/report.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace quenvarel {

namespace {

struct option_t {
    const char* name;
    std::uint32_t options_t::*value;
    std::uint32_t most;
    const char* complaint;
};

constexpr option_t known[] = {
    {"-c", &options_t::channel, 15, ": channel number over."},
    {"-p", &options_t::program, 127, ": pgmchg number over."},
    {"-n", &options_t::notebase, 127, ": notebase value over."},
    {"-l", &options_t::velocity, 127, ": velocity value over."},
};

const option_t* find_option(const char* argument) {
    for (const option_t& option : known)
        if (std::strcmp(option.name, argument) == 0) return &option;
    return nullptr;
}

std::uint32_t to_number(const char* text) {
    errno = 0;
    const unsigned long long wide = std::strtoull(text, nullptr, 0);
    if (errno == ERANGE) return std::numeric_limits<std::uint32_t>::max();
    while (std::isspace(static_cast<unsigned char>(*text)))
        ++text;
    const bool negative = *text == '-';
    const unsigned long long magnitude = negative ? 0 - wide : wide;
    if (magnitude > std::numeric_limits<std::uint32_t>::max())
        return std::numeric_limits<std::uint32_t>::max();
    return static_cast<std::uint32_t>(wide);
}

} // namespace

options_result read_options(int argc, const char* const* argv, options_t& options) {
    for (int at = 1; at < argc; at += 2) {
        const option_t* option = find_option(argv[at]);
        if (!option) {
            options.device = argv[at];
            return options_result::complete;
        }
        if (at + 1 == argc) break;
        const std::uint32_t value = to_number(argv[at + 1]);
        if (value > option->most) {
            libutils::report(value, option->complaint);
            return options_result::refused;
        }
        options.*option->value = value;
        if (option->value == &options_t::program) options.program_given = true;
    }
    return options_result::usage;
}

} // namespace quenvarel
