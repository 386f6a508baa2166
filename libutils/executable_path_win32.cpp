#include "libutils/executable_path.h"

#include <windows.h>

namespace libutils {

std::string executable_path() {
    std::string path(MAX_PATH, '\0');
    for (;;) {
        const DWORD length = GetModuleFileNameA(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size()) return path.substr(0, length);
        path.resize(path.size() * 2); // it was cut off
    }
}

} // namespace libutils
