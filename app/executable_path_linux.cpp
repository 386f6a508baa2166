#include "app/program_path.h"

#include <filesystem>
#include <system_error>

namespace quenvarel {

std::string executable_path() {
    std::error_code error;
    const std::filesystem::path path = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string() : path.string();
}

} // namespace quenvarel
