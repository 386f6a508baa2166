#include "pmt3d/format/file_saver.h"

#include "libutils/error_report.h"

#include <iostream>

namespace pmt3d {

static void report(const std::string& name, const char* what) {
    libutils::error_report();
    std::cerr << name << what << '\n';
}

file_saver::file_saver(const std::string& name) : name_(name), file_(name) {
    if (!is_open()) report(name_, ": file open error.");
}

bool file_saver::commit() {
    const bool opened = is_open();
    if (file_.commit()) return true;
    if (opened) report(name_, ": file write error.");
    return false;
}

} // namespace pmt3d
