// Shader files, found beside the program or where it was started.

#include "libutils/alloc_mmap_win.h"
#include "libutils/file_path.h"
#include "libutils/refvector2.h"
#include "libutils/report.h"
#include "render/gl/shader.h"

namespace render {

namespace {

constexpr std::uint64_t most_bytes = 16 << 20;

enum class outcome { absent, unusable, loaded };

outcome load(const std::string& name, std::string& text) {
    std::error_code failure;
    const std::filesystem::path path = libutils::file_path(name);
    if (!std::filesystem::exists(path, failure)) return outcome::absent;
    if (!std::filesystem::is_regular_file(path, failure)) return outcome::unusable;
    const std::uintmax_t bytes = std::filesystem::file_size(path, failure);
    if (failure) return outcome::unusable;
    if (bytes > most_bytes) {
        libutils::report(name, ": shader file is too large.");
        return outcome::unusable;
    }
    text.clear();
    if (bytes == 0) return outcome::loaded; // an empty file cannot be mapped
    libutils::refvector2<char, libutils::alloc_mmap_win> contents;
    if (!contents.try_allocate(0, name.c_str())) return outcome::unusable;
    text.assign(contents.data(), contents.size());
    if (!contents.is_whole()) return outcome::unusable;
    return outcome::loaded;
}

} // namespace

bool load_shader_file(const std::string& name, const std::string& directory, std::string& text) {
    outcome result = load(name, text);
    if (result == outcome::absent && !directory.empty()) result = load(directory + name, text);
    return result == outcome::loaded;
}

} // namespace render
