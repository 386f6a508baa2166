#pragma once
// Saves a model file and reports failures.

#include "libutils/saved_file.h"

#include <string>
#include <string_view>

namespace pmt3d {

// A libutils::saved_file that reports failures in one line on standard error: the name, then ": file open
// error." or ": file write error.".
class file_saver {
public:
    explicit file_saver(const std::string& name);
    bool is_open() const { return file_.is_open(); }
    bool write(std::string_view bytes) { return file_.write(bytes); }
    bool commit();

private:
    std::string name_;
    libutils::saved_file file_;
};

} // namespace pmt3d
