#pragma once
// The short name for tests that do not see the namespace of that name.

#include "tools/run_pmt3d.h"

inline test_support::process_result pmt3d(std::vector<std::string> words,
                                          const test_support::process_options& options = {}) {
    return run_pmt3d(std::move(words), options);
}
