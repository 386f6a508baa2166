#include "app/program_path.h"

#include "libutils/executable_path.h"
#include "libutils/file_path.h"

#include <system_error>

namespace quenvarel {

namespace {

#ifdef _WIN32
constexpr char separators[] = "/\\:";
#else
constexpr char separators[] = "/";
#endif

// Where the last component of a path begins.
std::size_t file_name_at(const std::string& path) {
    const std::size_t separator = path.find_last_of(separators);
    return separator == std::string::npos ? 0 : separator + 1;
}

bool has_models(const std::string& base) {
    std::error_code ignored;
    return std::filesystem::is_directory(libutils::file_path(base + "pmt"), ignored);
}

} // namespace

std::string without_extension(const std::string& path) {
    const std::size_t dot = path.rfind('.');
    // A dot in front begins a hidden file's name, not an extension.
    if (dot == std::string::npos || dot <= file_name_at(path)) return path + '.';
    return path.substr(0, dot + 1);
}

std::string model_base_path(const std::string& program_path) {
    std::string typed = without_extension(program_path);
    if (has_models(typed)) return typed;
    std::string running = without_extension(libutils::executable_path());
    if (has_models(running)) return running;
    const std::size_t name_at = file_name_at(running);
    std::string shared = running.substr(0, name_at) + "../share/quenvarel/" + running.substr(name_at);
    return has_models(shared) ? shared : typed;
}

} // namespace quenvarel
