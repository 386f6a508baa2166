#include "libutils/error_report.h"

#include "libutils/system_error.h"

#include <cstdio>
#include <iostream>

namespace libutils {

namespace {
fatal_presenter presenter_in_use = nullptr;
} // namespace

void error_report() noexcept {}

fatal_presenter set_fatal_presenter(fatal_presenter presenter) noexcept {
    const fatal_presenter before = presenter_in_use;
    presenter_in_use = presenter;
    return before;
}

void error_exit(const char* name) {
    error_exit(name, system_error::last());
}

void error_exit(const char* name, int code) {
    error_report();
    const std::string reason = system_error::text(code);
    // 40 characters hold the fixed words and the number.
    std::string text(reason.size() + std::char_traits<char>::length(name) + 40, '\0');
    std::snprintf(text.data(), text.size(), "%s failed with error %d: %s", name, code, reason.c_str());
    std::cout.flush();
    std::cerr.flush();
    (presenter_in_use ? presenter_in_use : system_error::show)(text.c_str(), "Error");
    system_error::end_process(code);
}

} // namespace libutils
