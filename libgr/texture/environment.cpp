#include "libgr/texture/environment.h"

#include "libgr/image/convert.h"
#include "libgr/texture/texture_table.h"
#include "libutils/report.h"
#include "render/math/cube_map.h"
#include "render/math/operations.h"

#include <algorithm>
#include <cstring>

namespace libgr {

namespace {

using render::cube_direction;
using render::dir3;
using render::smooth_step;

// A soft studio: a dark floor, walls that brighten upwards, and a large round lamp above and in front, to the
// left.
float studio_light(const dir3& towards) {
    const dir3 d = normalise(towards);
    const float walls = 0.12f + 0.38f * smooth_step(-0.6f, 1.0f, d.y);
    const float lamp = 0.5f * smooth_step(0.55f, 0.98f, dot(d, normalise(dir3{-0.45f, 0.75f, 0.5f})));
    return walls + lamp;
}

// Pictures begin with their bottom row, faces with their top row.
bool turn_upside_down(image2d& image) {
    image2d turned = image;
    turned.pixels.release();
    turned.row_length = turned.skip_pixels = turned.skip_rows = 0;
    if (!turned.allocate()) return false;
    const std::uint64_t bytes = std::min(turned.stride(), image.stride());
    for (std::uint32_t y = 0; y < image.height; ++y)
        std::memcpy(turned.row(y), image.row(image.height - 1 - y), bytes);
    image = turned;
    return true;
}

// Unequal faces are no cube map to the GL; they all become RGBA of bytes then.
bool make_equal(std::vector<image2d>& faces) {
    const pixel_descriptor kind = faces.front().descriptor;
    if (std::all_of(faces.begin(), faces.end(), [&](const image2d& face) { return face.descriptor == kind; }))
        return true;
    return std::all_of(faces.begin(), faces.end(), [](image2d& face) {
        return convert_bits(face, face, bits_class::bits_8) && convert_format(face, face, pixel_format::rgba);
    });
}

bool make_default_faces(grTextureCubeMap& cube) {
    constexpr std::uint32_t size = 32;
    for (std::size_t face = 0; face < cube.images.size(); ++face) {
        image2d& image = cube.images[face];
        image.descriptor = kinds::rgb8;
        image.width = image.height = size;
        if (!image.allocate()) return false;
        for (std::uint32_t y = 0; y < size; ++y) {
            unsigned char* pixel = image.row(y);
            for (std::uint32_t x = 0; x < size; ++x, pixel += 3) {
                const auto along = [](std::uint32_t i) { return 2 * (float(i) + 0.5f) / float(size) - 1; };
                const float light = studio_light(cube_direction(face, along(x), along(y)));
                // A shade warmer where it is bright.
                pixel[0] = static_cast<unsigned char>(255 * light);
                pixel[1] = static_cast<unsigned char>(255 * light * (1 - 0.02f * light));
                pixel[2] = static_cast<unsigned char>(255 * light * (1 - 0.06f * light));
            }
        }
    }
    return true;
}

} // namespace

bool environment_t::initex(const std::string& name) {
    if (!table_) table_ = texture_table::shared();
    const std::string path = cubetex.empty() ? std::string() : picture_path(name, cubetex);
    const std::string key = cubetex.empty() ? "cube" : table_name(path);
    std::shared_ptr<cube_record> cube = table_->find_cube(key);
    if (!cube) {
        cube = std::make_shared<cube_record>();
        if (cubetex.empty()) {
            if (!make_default_faces(cube->texture))
                return libutils::report("environment_t::initex(): allocate fail.");
        } else {
            auto image = cube->texture.images.begin();
            for (const std::string& face : face_names(path)) {
                if (!load_picture(*image, face) || !turn_upside_down(*image)) {
                    return libutils::report(face, ": autoloadformat failed.");
                }
                const std::uint32_t side = cube->texture.images.front().width;
                if (image->width != side || image->height != side) {
                    return libutils::report(face,
                                            ": the six pictures of a cube map are squares of one size.");
                }
                ++image;
            }
            if (!make_equal(cube->texture.images)) return false;
        }
        table_->add_cube(key, cube);
        cube->prepare();
    }
    cube_ = std::move(cube);
    return true;
}

bool environment_t::has_cube() {
    return cube_ != nullptr;
}

void environment_t::bind_cube() {
    cube_->prepare();
    cube_->object.Load();
}

void environment_t::unbind_cube() {
    cube_->object.unbind();
}

} // namespace libgr
