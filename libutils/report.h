#pragma once
// The one way to report a failure: one line on standard error.

#include "libutils/error_report.h"

#include <iostream>
#include <sstream>

namespace libutils {

// Calls error_report(), then writes the parts and a line end to the stream in one piece, so that lines of
// several threads or processes do not mix. Numbers are decimal. Always returns false, so that a function can
// report its failure and return it in one statement.
template <class... Parts>
bool report_to(std::ostream& os, const Parts&... parts) {
    error_report();
    std::ostringstream line;
    (line << ... << parts) << '\n';
    os << line.view() << std::flush;
    return false;
}

// The same on standard error.
template <class... Parts>
bool report(const Parts&... parts) {
    return report_to(std::cerr, parts...);
}

} // namespace libutils
