#include "libgr/image/input_file.h"

#include "libutils/file_path.h"
#include "libutils/report.h"

namespace libgr {

using libutils::report;

bool map_file(pixel_bytes& bytes, const std::string& name) {
    std::error_code error;
    if (!std::filesystem::exists(libutils::file_path(name), error))
        return report(name, ": file stat failed.");
    // The size is asked of the opened file: between the question above and now it may have become another
    // one.
    if (!bytes.try_allocate(0, name.c_str())) return report(name, ": file load failed.");
    bytes.set_view(0);
    return true;
}

} // namespace libgr
