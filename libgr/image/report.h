#pragma once
// The one line on standard error that goes with a failed operation.

#include "libutils/error_report.h"

#include <iostream>
#include <string_view>

namespace libgr {

inline bool report_failure(std::string_view name, std::string_view text = {}) {
    libutils::error_report();
    std::cerr << name << text << std::endl;
    return false;
}

} // namespace libgr
