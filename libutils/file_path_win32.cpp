#include "libutils/file_path.h"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace libutils {

std::filesystem::path file_path(const std::string& name) {
    std::wstring wide(name.size(), L'\0'); // no character is longer than its bytes
    const int length =
        MultiByteToWideChar(CP_ACP, 0, name.data(), int(name.size()), wide.data(), int(wide.size()));
    wide.resize(std::size_t(length));
    return wide;
}

std::string file_name(const std::filesystem::path& path) {
    const std::wstring wide = path.generic_wstring();
    std::string name(4 * wide.size(), '\0'); // more than any code page needs for a character
    const int length = WideCharToMultiByte(CP_ACP, 0, wide.data(), int(wide.size()), name.data(),
                                           int(name.size()), nullptr, nullptr);
    name.resize(std::size_t(length));
    return name;
}

} // namespace libutils
