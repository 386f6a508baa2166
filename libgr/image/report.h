#pragma once
// The one line on standard error that goes with a failed operation.

#include "libutils/report.h"

#include <string_view>

namespace libgr {

inline bool report_failure(std::string_view name, std::string_view text = {}) {
    return libutils::report(name, text);
}

} // namespace libgr
