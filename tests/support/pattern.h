#pragma once
// Texts that are not known to the last character. POSIX only.

#include <regex.h>
#include <string>

namespace test_support {

// Whether an extended regular expression, as of POSIX, matches somewhere in the text; ^ and $ are its ends.
inline bool matches(const std::string& text, const std::string& pattern) {
    regex_t compiled;
    if (regcomp(&compiled, pattern.c_str(), REG_EXTENDED | REG_NOSUB) != 0) return false;
    const bool found = regexec(&compiled, text.c_str(), 0, nullptr, 0) == 0;
    regfree(&compiled);
    return found;
}

} // namespace test_support
