#include "libutils/executable_path.h"

#include <filesystem>
#include <system_error>

namespace libutils {

std::string executable_path() {
    std::error_code error;
    const std::filesystem::path path = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string() : path.string();
}

} // namespace libutils
