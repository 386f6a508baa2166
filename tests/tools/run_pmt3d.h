#pragma once
// The program pmt3d, run as a user runs it: the native one, or the one for Windows where that is under test.

#include "support/process.h"

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

// The player under test, in whose folder the other programs are; null for the native ones.
inline const char* windows_player() {
    return std::getenv("QUENVAREL_UNDER_TEST");
}

// Windows ends the lines of the standard streams in its own way.
inline std::string with_plain_line_ends(std::string text) {
    for (std::size_t at = 0; windows_player() && (at = text.find("\r\n", at)) != text.npos;)
        text.erase(at, 1);
    return text;
}

inline test_support::process_result run_pmt3d(std::vector<std::string> words,
                                              const test_support::process_options& options = {}) {
    const std::string folder =
        windows_player() ? std::filesystem::path(windows_player()).parent_path().string() : QUENVAREL_BIN;
    words.insert(words.begin(), folder + "/pmt3d");
    test_support::process_result result = test_support::run(words, options);
    result.out = with_plain_line_ends(result.out);
    result.err = with_plain_line_ends(result.err);
    return result;
}
