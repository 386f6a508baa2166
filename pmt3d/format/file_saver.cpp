#include "pmt3d/format/file_saver.h"

#include "libutils/report.h"

namespace pmt3d {

using libutils::report;

file_saver::file_saver(const std::string& name) : name_(name), file_(name) {
    if (!is_open()) report(name_, ": file open error.");
}

bool file_saver::commit() {
    const bool opened = is_open();
    return file_.commit() || (opened && report(name_, ": file write error."));
}

} // namespace pmt3d
