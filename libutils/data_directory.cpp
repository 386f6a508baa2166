#include "libutils/data_directory.h"

#include <cstdlib>

namespace libutils {

namespace {

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

} // namespace

std::string data_directory() {
#ifdef _WIN32
    return environment("APPDATA");
#else
    // The XDG base directories are absolute; another value does not count.
    if (const std::string data = environment("XDG_DATA_HOME"); data.starts_with('/')) return data;
    const std::string home = environment("HOME");
    return home.empty() ? home : home + "/.local/share";
#endif
}

} // namespace libutils
