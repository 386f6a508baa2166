#include "app/program_path.h"

#include "libutils/data_directory.h"
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
    const std::string running = without_extension(libutils::executable_path());
    const std::string program_folder = running.substr(0, file_name_at(running));
    const std::string own = libutils::data_directory();
    // A link has a name of its own; the program that it leads to has another one.
    for (const std::string& path : {typed, running}) {
        const std::string name = path.substr(file_name_at(path));
        for (const std::string& folder : {own.empty() ? own : own + "/quenvarel/", program_folder,
                                          program_folder + "../share/quenvarel/"}) {
            if (!folder.empty() && has_models(folder + name)) return folder + name;
        }
    }
    return typed;
}

} // namespace quenvarel
