#pragma once
// A model file being saved, with the reports of its failures.

#include "libutils/saved_file.h"

#include <string>
#include <string_view>

namespace pmt3d {

// libutils::saved_file that says in one line on standard error what went wrong: ": file open error." or ":
// file write error." behind the name.
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
