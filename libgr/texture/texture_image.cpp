#include "libgr/texture/texture_image.h"

#include "libgr/texture/level_upload.h"
#include "libutils/report.h"
#include "render/gl/step_check.h"

#include <GL/glew.h>

#include <algorithm>

namespace libgr {

namespace {

template <typename Image>
void upload_levels(int dimensions, GLenum target, const grTexturableImageGL& choices,
                   const std::vector<Image>& images, const upload_steps& steps) {
    if (images.empty() || !render::has_context()) return;
    const transfer_state state(images.front());
    const level_upload upload(dimensions, target, choices, steps);
    std::size_t next = 0;
    if (choices.generate_mipmaps) upload.mipmaps(picture_view(images[next++]), target);
    for (; next < images.size(); ++next)
        upload.level(picture_view(images[next]), GLint(next));
}

template <typename Image>
render::gl_enum first_internal_format(const std::vector<Image>& images, bool compress) {
    transfer how;
    if (images.empty() || !find_transfer(images.front().descriptor, how, compress)) return render::no_object;
    return how.internal_format;
}

constexpr const char* compressed_2d =
    "Compressed 'special format' image is ablen't to build mipmaps, fallback.";
constexpr const char* compressed_3d = "Compressed image are can't build mipmaps in this environment.";

constexpr upload_steps steps_2d = {.before_image = "before-teximage2d(not-mipmap)",
                                   .after_image = "after-teximage2d(not-mipmap)",
                                   .before_sub_image = "before-tex-sub-image2d",
                                   .after_sub_image = "after-tex-sub-image2d",
                                   .compressed_mipmaps = compressed_2d};

constexpr upload_steps steps_cube = {.unpack = "after-unpack_window_subset",
                                     .before_mipmaps = "before-generate_mipmap",
                                     .after_mipmaps = "after-generate_mipmap",
                                     .switched_on = "after-texparameter_cubemap-sgis-true",
                                     .switching_off = "before-texparameter_cubemap-sgis-false",
                                     .switched_off = "after-texparameter_cubemap-sgis-false",
                                     .after_builder = "after-gluBuild2DMipmaps"};

// The picture, or a smaller one where it is larger than the GL's largest texture.
image2d fitted(const image2d& image, const grTexture2D& choices) {
    GLint most = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &most);
    const std::uint32_t real_max = std::uint32_t(most), longer = std::max(image.width, image.height);
    transfer how;
    const picture_view view(image);
    if (longer <= real_max || image.compressed || !view.has_all_bytes() ||
        !find_transfer(image.descriptor, how) || !view.is_read_as(how))
        return image;
    image2d smaller;
    smaller.descriptor = image.descriptor;
    const auto scaled = [&](std::uint32_t length) {
        return std::max(std::uint32_t(std::uint64_t(length) * real_max / longer), 1u);
    };
    smaller.width = scaled(image.width);
    smaller.height = scaled(image.height);
    libutils::report("real_max: ", real_max, "\nm_width: ", smaller.width, "\nm_height: ", smaller.height,
                     "\ninternalformat: ", how.internal_format, "\nm_border: ", unsigned(choices.border),
                     "\nformat: ", how.format, "\ntype: ", how.type);
    if (!smaller.allocate()) return image;
    view.apply_pixel_store();
    const GLint failed =
        gluScaleImage(how.format, view.width, view.height, how.type, view.first_pixel(),
                      GLsizei(smaller.width), GLsizei(smaller.height), how.type, smaller.pixels.data());
    return failed ? image : smaller;
}

std::vector<image2d> fitted(const grTexture2D& choices) {
    std::vector<image2d> all;
    all.reserve(choices.images.size());
    for (const image2d& image : choices.images)
        all.push_back(fitted(image, choices));
    return all;
}

} // namespace

void grTexture1D::upload() {
    upload_levels(1, GL_TEXTURE_1D, *this, images, {});
}
void grTexture1D::reupload() {
    upload();
}
render::gl_enum grTexture1D::internal_format() const {
    return first_internal_format(images, compress);
}

void grTexture2D::upload() {
    if (render::has_context()) upload_levels(2, GL_TEXTURE_2D, *this, fitted(*this), steps_2d);
}

void grTexture2D::reupload() {
    if (images.empty() || !render::has_context()) return;
    const transfer_state state(images.front());
    const level_upload upload(2, GL_TEXTURE_2D, *this, steps_2d);
    GLint level = 0;
    for (const image2d& image : fitted(*this))
        upload.replace(picture_view(image), level++);
}
render::gl_enum grTexture2D::internal_format() const {
    return first_internal_format(images, compress);
}

void grTexture3D::upload() {
    upload_levels(3, GL_TEXTURE_3D, *this, images, {.compressed_mipmaps = compressed_3d});
}
void grTexture3D::reupload() {
    upload();
}
render::gl_enum grTexture3D::internal_format() const {
    return first_internal_format(images, compress);
}

void grTextureCubeMap::upload() {
    if (images.empty() || !render::has_context()) return;
    const transfer_state state(images.front());
    GLenum face = GL_TEXTURE_CUBE_MAP_POSITIVE_X;
    for (const image2d& image : images) {
        if (face > GL_TEXTURE_CUBE_MAP_NEGATIVE_Z) break;
        const level_upload upload(2, face++, *this, steps_cube);
        if (generate_mipmaps) {
            upload.mipmaps(picture_view(image), GL_TEXTURE_CUBE_MAP);
        } else {
            upload.level(picture_view(image), 0);
        }
    }
}
void grTextureCubeMap::reupload() {
    upload();
}
render::gl_enum grTextureCubeMap::internal_format() const {
    return first_internal_format(images, compress);
}

void grTextureRectangle::upload() {
    upload_levels(2, GL_TEXTURE_2D, *this, images, {});
}
void grTextureRectangle::reupload() {
    upload();
}
render::gl_enum grTextureRectangle::internal_format() const {
    return first_internal_format(images, compress);
}

} // namespace libgr
