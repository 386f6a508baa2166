#include "models/keyboard_files.h"

#include "libgr/image/autoformat.h"
#include "libgr/image/image.h"
#include "libutils/file_path.h"
#include "libutils/report.h"
#include "models/case_shape.h"
#include "models/key_shape.h"
#include "models/layout/key_layout.h"
#include "models/materials.h"
#include "models/studio.h"
#include "pmt3d/format/dispatch.h"
#include "pmt3d/format/model.h"

#include <algorithm>
#include <utility>

namespace models {
namespace {

struct picture_file {
    const char* name;
    std::uint32_t format; // that the file format takes
};
struct material_files {
    picture_file color, bump, specular;
    float refractfactor; // refractive index, outside over inside, of what is polished
};
constexpr material_files ivory_files = {{"ivory-color.jpg", libgr::pixel_format::rgb},
                                        {"ivory-bump.png", libgr::pixel_format::rgb},
                                        {"ivory-specular.tga", libgr::pixel_format::bgr},
                                        0};
constexpr material_files black_files = {{"black-color.png", libgr::pixel_format::rgb},
                                        {"black-bump.bmp", libgr::pixel_format::luminance},
                                        {"black-specular.tga", libgr::pixel_format::bgr},
                                        1 / 1.3f};

bool write_picture(const std::string& directory, const picture_file& file, const picture& from) {
    libgr::image2d image;
    image.descriptor = {file.format, libgr::sample_type::unsigned_integer, libgr::bits_class::bits_8};
    image.width = from.width;
    image.height = from.height;
    if (!image.allocate()) return false;
    const std::size_t row_bytes = std::size_t{from.width} * from.channels;
    for (unsigned y = 0; y < from.height; ++y) {
        unsigned char* const row = image.row(y);
        std::copy_n(from.pixels.begin() + static_cast<std::ptrdiff_t>(y * row_bytes), row_bytes, row);
        if (file.format == libgr::pixel_format::bgr)
            for (std::size_t x = 0; x < row_bytes; x += 3)
                std::swap(row[x], row[x + 2]);
    }
    return libgr::autosaveformat(image, directory + file.name);
}

bool write_material(const std::string& directory, const material_files& files, const material& from) {
    return write_picture(directory, files.color, from.color) &&
           write_picture(directory, files.bump, from.bump) &&
           write_picture(directory, files.specular, from.specular);
}

// A highlight of one colour, which adds nothing to the alpha.
picture highlight(std::uint8_t red, std::uint8_t green, std::uint8_t blue) {
    picture made{4, 4, 4, {}};
    for (int i = 0; i < 16; ++i)
        for (const std::uint8_t channel : {red, green, blue, std::uint8_t(0)})
            made.pixels.push_back(channel);
    return made;
}

bool write_case(const std::string& directory, const std::optional<picture>& name, instrument which) {
    constexpr auto rgba = libgr::pixel_format::rgba;
    case_pictures pictures = {"plain.png",         "plain.png",          "lacquer-specular.png",
                              "felt-specular.png", "brass-specular.png", "",
                              "studio.tga"};
    if (name) {
        pictures.name = "name.png";
        if (!write_picture(directory, {pictures.name.c_str(), rgba}, *name)) return false;
    }
    if (which == instrument::harpsichord) {
        pictures.body = "walnut.png";
        if (!write_picture(directory, {pictures.body.c_str(), libgr::pixel_format::rgb}, make_walnut()))
            return false;
    }
    const auto studio = make_studio();
    constexpr const char* faces[] = {"studio_posx.tga", "studio_negx.tga", "studio_posy.tga",
                                     "studio_negy.tga", "studio_posz.tga", "studio_negz.tga"};
    for (std::size_t i = 0; i < studio.size(); ++i)
        if (!write_picture(directory, {faces[i], libgr::pixel_format::bgr}, studio[i])) return false;
    pmt3d::model_t model;
    return write_picture(directory, {pictures.plain.c_str(), libgr::pixel_format::rgb},
                         {4, 4, 3, std::vector<std::uint8_t>(48, 255)}) &&
           write_picture(directory, {pictures.lacquer_highlight.c_str(), rgba}, highlight(26, 26, 28)) &&
           write_picture(directory, {pictures.no_highlight.c_str(), rgba}, highlight(0, 0, 0)) &&
           write_picture(directory, {pictures.brass_highlight.c_str(), rgba}, highlight(180, 140, 70)) &&
           make_case(model, pictures, which == instrument::piano ? lacquered : wooden) &&
           pmt3d::save_text(model, directory + "case.pmt");
}

bool write_key(const std::string& directory, int note, bool black) {
    const key_mesh mesh = make_key(note);
    pmt3d::model_item_t item;
    if (!item.polygon.allocate(mesh.vertices.size(), mesh.elements.size())) return false;
    std::transform(mesh.vertices.begin(), mesh.vertices.end(), item.polygon.edit_vertices().begin(),
                   [](const key_vertex& v) {
                       return pmt3d::vertex_t{v.position, v.color, v.texcoord};
                   });
    std::transform(mesh.vertices.begin(), mesh.vertices.end(), item.polygon.edit_normals().begin(),
                   [](const key_vertex& v) {
                       return pmt3d::frame_t{v.tangent, v.binormal, v.normal};
                   });
    std::copy(mesh.elements.begin(), mesh.elements.end(), item.polygon.edit_elements().begin());

    const material_files& files = black ? black_files : ivory_files;
    item.texture.texture = files.color.name;
    item.texture.bumpmap = files.bump.name;
    item.texture.specular = files.specular.name;
    item.texture.refractfactor = files.refractfactor;
    item.texture.mipmap = false;
    item.texture.nearlinear = false;
    return pmt3d::save_text(item, directory + std::to_string(note) + ".pmt");
}

} // namespace

bool write_keyboard(const std::string& directory, const std::optional<picture>& name, instrument which) {
    std::error_code failure;
    std::filesystem::create_directories(libutils::file_path(directory), failure);
    if (failure) return libutils::report(directory, ": ", failure.message());
    const std::string prefix = directory + '/';
    if (!write_material(prefix, ivory_files, make_ivory()) ||
        !write_material(prefix, black_files, make_satin_black()))
        return false;
    for (int note = 0; note < key_count; ++note)
        if (!write_key(prefix, note, place_of(note).black == (which == instrument::piano))) return false;
    return write_case(prefix, name, which);
}

} // namespace models
