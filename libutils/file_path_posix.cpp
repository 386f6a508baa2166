#include "libutils/file_path.h"

namespace libutils {

std::filesystem::path file_path(const std::string& name) {
    return name;
}

} // namespace libutils
