#include "tools/pmt3d/import/limited_files.h"

#include <filesystem>
#include <string_view>

namespace tool {

bool limited_files::Exists(const char* name) const {
    std::error_code error;
    return std::filesystem::is_regular_file(name, error);
}

Assimp::IOStream* limited_files::Open(const char* name, const char* mode) {
    if (std::string_view(mode).find_first_of("wa+") != std::string_view::npos || !Exists(name))
        return nullptr;
    std::error_code error;
    const std::uint64_t size = std::filesystem::file_size(name, error);
    if (error) return nullptr;
    if (size > most_bytes - bytes_) {
        refusal_ = "more than " + std::to_string(most_bytes >> 20) + " MiB are not imported.";
        return nullptr;
    }
    bytes_ += size;
    opening_(size);
    return DefaultIOSystem::Open(name, mode);
}

} // namespace tool
