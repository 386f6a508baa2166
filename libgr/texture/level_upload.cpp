#include "libgr/texture/level_upload.h"

#include "libgr/image/convert.h"
#include "libutils/report.h"
#include "render/gl/step_check.h"

#include <algorithm>
#include <bit>
#include <vector>

namespace libgr {

namespace {

using libutils::report;

void announce(const char* step) {
    if (step) render::step_check(step);
}

// Whether the texture can build its own smaller levels.
bool builds_itself(GLenum internal) {
    static constexpr GLenum formats[] = {GL_RGB, GL_RGBA, GL_RGB5,       GL_RGB8,       GL_RGBA8,
                                         GL_BGR, GL_BGRA, GL_RGB8_SNORM, GL_RGBA8_SNORM};
    return GLEW_SGIS_generate_mipmap &&
           std::find(std::begin(formats), std::end(formats), internal) != std::end(formats);
}

// A picture that the GL can read and how: the one that was given or, where the GL does not read such samples,
// a wider copy of it.
struct readable {
    readable(const picture_view& given, bool compress) {
        if (!find_transfer(given.record().descriptor, how, compress)) return;
        if (given.record().compressed || given.is_read_as(how)) {
            picture = &given;
        } else {
            if (!given.flat || !given.flat->holds_pixels() ||
                !convert_bits(wide_, *given.flat, bits_class::bits_8)) {
                report("error, image samples are of a width that OpenGL does not read, skip.");
                return;
            }
            if (!find_transfer(wide_.descriptor, how, compress)) return;
            wide_view_ = picture_view(wide_);
            picture = &wide_view_;
        }
        if (given.record().compressed || picture->has_all_bytes()) return;
        report("error, image has fewer bytes than its size needs, skip.");
        picture = nullptr;
    }
    readable(const readable&) = delete;
    readable& operator=(const readable&) = delete;

    const picture_view* picture = nullptr; // null: there is none, as has been reported
    transfer how;

private:
    image2d wide_;
    picture_view wide_view_{wide_};
};

// The pixels of a flat picture in rows without padding, and the pixel store for them. Pixels that are parts
// of a byte stay as they are.
struct packed_rows {
    explicit packed_rows(const picture_view& picture) : pixels(picture.first_pixel()) {
        const std::uint32_t bits = bits_per_pixel(picture.record().descriptor);
        if (bits % 8 != 0) return;
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
        const std::size_t row = std::size_t(picture.width) * (bits / 8);
        if (row == picture.stride) return;
        copy_.reserve(row * std::size_t(picture.height));
        for (GLsizei y = 0; y < picture.height; ++y) {
            const unsigned char* const from = picture.first_pixel() + std::uint64_t(y) * picture.stride;
            copy_.insert(copy_.end(), from, from + row);
        }
        pixels = copy_.data();
    }
    packed_rows(const packed_rows&) = delete;
    packed_rows& operator=(const packed_rows&) = delete;

    const unsigned char* pixels;

private:
    std::vector<unsigned char> copy_;
};

} // namespace

void level_upload::level(const picture_view& picture, GLint number) const {
    const readable source(picture, false);
    if (source.picture) put(*source.picture, number, source.how, false);
}

void level_upload::mipmaps(const picture_view& picture, GLenum parameter_target) const {
    const readable source(picture, choices_.compress);
    if (!source.picture) return;
    if (builds_itself(source.how.internal_format)) {
        glTexParameteri(parameter_target, GL_GENERATE_MIPMAP, GL_TRUE);
        announce(steps_.switched_on);
        announce(steps_.before_mipmaps);
        put(*source.picture, 0, source.how, true);
        announce(steps_.after_mipmaps);
        announce(steps_.switching_off);
        glTexParameteri(parameter_target, GL_GENERATE_MIPMAP, GL_FALSE);
        announce(steps_.switched_off);
    } else if (picture.record().compressed) {
        if (steps_.compressed_mipmaps) report(steps_.compressed_mipmaps);
        put(*source.picture, 0, source.how, true);
    } else {
        source.picture->apply_pixel_store();
        announce(steps_.unpack);
        build(*source.picture, source.how, parameter_target);
        announce(steps_.after_builder);
    }
}

void level_upload::replace(const picture_view& picture, GLint number) const {
    const bool first_of_mipmaps = choices_.generate_mipmaps && number == 0;
    const readable source(picture, first_of_mipmaps && choices_.compress);
    if (!source.picture) return;
    if (picture.record().compressed || (first_of_mipmaps && !builds_itself(source.how.internal_format))) {
        // Compressed storage cannot be written over, and the utility library may have changed the size.
        if (first_of_mipmaps) {
            mipmaps(picture, target_);
        } else {
            level(picture, number);
        }
        return;
    }
    if (first_of_mipmaps) glTexParameteri(target_, GL_GENERATE_MIPMAP, GL_TRUE);
    source.picture->apply_pixel_store();
    tex_sub_image(number, *source.picture, source.how);
    if (first_of_mipmaps) glTexParameteri(target_, GL_GENERATE_MIPMAP, GL_FALSE);
}

void level_upload::put(const picture_view& picture, GLint level, const transfer& how,
                       bool mipmap_route) const {
    picture.apply_pixel_store();
    announce(steps_.unpack);
    if (picture.record().compressed) {
        put_compressed(picture, level, how);
    } else if (choices_.allocation_width != 0) {
        tex_image(level, allocated(picture, mipmap_route), how, nullptr);
        tex_sub_image(level, picture, how);
    } else {
        if (!mipmap_route) announce(steps_.before_image);
        tex_image(level, {picture.width, picture.height, picture.depth}, how, picture.first_pixel());
        if (!mipmap_route) announce(steps_.after_image);
    }
}

void level_upload::put_compressed(const picture_view& picture, GLint level, const transfer& how) const {
    if (!GLEW_ARB_texture_compression) {
        report("error, ARB_texture_compression unsupported when compressed image loading, skip.");
        return;
    }
    const pixel_bytes& pixels = picture.record().pixels;
    const auto bytes = GLsizei(std::min(picture.bytes(), std::uint64_t(pixels.size())));
    const GLenum internal = how.internal_format;
    const GLint border = choices_.border;
    switch (dimensions_) {
    case 1:
        glCompressedTexImage1D(target_, level, internal, picture.width, border, bytes, pixels.data());
        break;
    case 2:
        glCompressedTexImage2D(target_, level, internal, picture.width, picture.height, border, bytes,
                               pixels.data());
        break;
    default:
        glCompressedTexImage3D(target_, level, internal, picture.width, picture.height, picture.depth, border,
                               bytes, pixels.data());
    }
}

void level_upload::build(const picture_view& picture, const transfer& how, GLenum parameter_target) const {
    const auto internal = GLint(how.internal_format);
    // The utility library has no builder for three dimensions, and knows no half floats.
    GLint failed = GLU_INVALID_ENUM;
    if (dimensions_ == 1) {
        failed =
            gluBuild1DMipmaps(target_, internal, picture.width, how.format, how.type, picture.first_pixel());
    } else if (dimensions_ == 2) {
        // It puts the rows of its own levels side by side, and the GL would look for each at a multiple of
        // the picture's alignment: wrong pixels, and some from behind the level.
        const packed_rows packed(picture);
        failed = gluBuild2DMipmaps(target_, internal, picture.width, picture.height, how.format, how.type,
                                   packed.pixels);
    }
    if (failed) build_without_utilities(picture, how, parameter_target, failed);
}

// The texture is complete afterwards, if need be without smaller levels.
void level_upload::build_without_utilities(const picture_view& picture, const transfer& how,
                                           GLenum parameter_target, GLint reason) const {
    put(picture, 0, how, true);
    announce(steps_.after_image);
    GLint width = 0;
    glGetTexLevelParameteriv(target_, 0, GL_TEXTURE_WIDTH, &width);
    if (width == 0) {
        report("error, mipmaps cannot be built: ", gluErrorString(GLenum(reason)), ".");
    } else if (!glGenerateMipmap) {
        glTexParameteri(parameter_target, GL_TEXTURE_MAX_LEVEL, 0);
    } else if (target_ == parameter_target || target_ == GL_TEXTURE_CUBE_MAP_NEGATIVE_Z) {
        glGenerateMipmap(parameter_target); // of a cube map with its last face
    }
}

// The size of a level that is made empty first.
level_upload::extent level_upload::allocated(const picture_view& picture, bool mipmap_route) const {
    const GLsizei width = std::max(GLsizei(choices_.allocation_width), picture.width);
    if (!mipmap_route) return {width, picture.height, picture.depth};
    const auto padded = [&](GLsizei length) {
        return GLsizei(std::bit_ceil(std::uint32_t(length))) + 2 * choices_.border;
    };
    return {padded(width), dimensions_ > 1 ? padded(picture.height) : 1,
            dimensions_ > 2 ? padded(picture.depth) : 1};
}

void level_upload::tex_image(GLint level, const extent& size, const transfer& how, const void* data) const {
    const auto internal = GLint(how.internal_format);
    const GLint border = choices_.border;
    switch (dimensions_) {
    case 1:
        glTexImage1D(target_, level, internal, size.width, border, how.format, how.type, data);
        break;
    case 2:
        glTexImage2D(target_, level, internal, size.width, size.height, border, how.format, how.type, data);
        break;
    default:
        glTexImage3D(target_, level, internal, size.width, size.height, size.depth, border, how.format,
                     how.type, data);
    }
}

void level_upload::tex_sub_image(GLint level, const picture_view& picture, const transfer& how) const {
    announce(steps_.before_sub_image);
    const void* data = picture.first_pixel();
    switch (dimensions_) {
    case 1:
        glTexSubImage1D(target_, level, 0, picture.width, how.format, how.type, data);
        break;
    case 2:
        glTexSubImage2D(target_, level, 0, 0, picture.width, picture.height, how.format, how.type, data);
        break;
    default:
        glTexSubImage3D(target_, level, 0, 0, 0, picture.width, picture.height, picture.depth, how.format,
                        how.type, data);
    }
    announce(steps_.after_sub_image);
}

} // namespace libgr
