#include "libutils/file_path.h"

namespace libutils {

std::filesystem::path file_path(const std::string& name) {
    return name;
}

std::string file_name(const std::filesystem::path& path) {
    return path.string();
}

} // namespace libutils
