#include "libgr/texture/texture_table.h"

#include "libgr/image/autoformat.h"
#include "libgr/image/convert.h"
#include "libutils/file_path.h"
#include "libutils/report.h"
#include "render/gl/step_check.h"

#include <GL/glew.h>

namespace libgr {

void texture_record::prepare() {
    if (!render::has_context()) return;
    if (!object.attached() || (texture.generate_mipmaps && !has_mipmaps)) {
        object.attach(texture);
        has_mipmaps = texture.generate_mipmaps;
        parameters_changed = true;
    }
    if (parameters_changed) {
        object.Load();
        grTexParameter(&parameters);
        parameters_changed = false;
        object.unbind();
    }
}

void cube_record::prepare() {
    if (object.attached() || !render::has_context()) return;
    object.attach(texture);
    grTexParameter(&parameters);
    // Smooth across the edges of the faces.
    for (const GLenum wrap : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T, GL_TEXTURE_WRAP_R}) {
        glTexParameteri(GL_TEXTURE_CUBE_MAP, wrap, GL_CLAMP_TO_EDGE);
    }
    glEnable(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    object.unbind();
}

std::shared_ptr<texture_table> texture_table::shared() {
    static std::weak_ptr<texture_table> current;
    std::shared_ptr<texture_table> table = current.lock();
    if (!table) current = table = std::make_shared<texture_table>();
    return table;
}

texture_table::entry texture_table::find_or_add(const std::string& name) {
    const auto [at, added] = textures_.try_emplace(name);
    if (added) at->second = std::make_shared<texture_record>();
    return {at->second, added};
}

std::shared_ptr<cube_record> texture_table::find_cube(const std::string& name) const {
    const auto found = cubes_.find(name);
    return found == cubes_.end() ? nullptr : found->second;
}

void texture_table::add_cube(const std::string& name, std::shared_ptr<cube_record> cube) {
    cubes_.insert_or_assign(name, std::move(cube));
}

namespace {

bool is_separator(char c) {
#ifdef _WIN32
    return c == '/' || c == '\\';
#else
    return c == '/';
#endif
}

bool is_absolute(std::string_view name) {
    const auto slash = [](char c) { return c == '/' || c == '\\'; };
    const auto letter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
    return name.starts_with('/') || name.starts_with("\\\\") ||
           (name.size() > 2 && letter(name[0]) && name[1] == ':' && slash(name[2]));
}

// Where the file's own name begins.
std::size_t base_of(std::string_view path) {
    std::size_t base = path.size();
    while (base > 0 && !is_separator(path[base - 1]))
        --base;
    return base;
}

} // namespace

std::string picture_path(const std::string& model_file, const std::string& name) {
    if (is_absolute(name)) return name;
    if (model_file.empty()) {
        libutils::report(name, ": base filename.");
    }
    return model_file.substr(0, base_of(model_file)) + name;
}

std::string table_name(const std::string& path) {
    std::error_code failure;
    const std::filesystem::path whole = std::filesystem::absolute(libutils::file_path(path), failure);
    if (failure) return path;
    const std::filesystem::path plain = std::filesystem::weakly_canonical(whole, failure);
    return (failure ? whole.lexically_normal() : plain).string();
}

bool load_picture(image2d& image, const std::string& path) {
    if (!autoloadformat(image, path)) return false;
    const std::uint32_t bits = bits_per_component(image.descriptor.bits);
    if (bits != 0 && bits < 8) return convert_bits(image, image, bits_class::bits_8);
    return image.leave_file(); // a second program may want to wear it too
}

std::array<std::string, 6> face_names(const std::string& path) {
    static constexpr std::array<const char*, 6> suffixes = {"_posx", "_negx", "_posy",
                                                            "_negy", "_posz", "_negz"};
    const std::size_t base = base_of(path);
    std::size_t dot = path.rfind('.');
    if (dot == path.npos || dot < base) dot = path.size();
    std::array<std::string, 6> names;
    for (std::size_t i = 0; i < names.size(); ++i)
        names[i] = path.substr(0, dot) + suffixes[i] + path.substr(dot);
    return names;
}

} // namespace libgr
