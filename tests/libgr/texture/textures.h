#pragma once
// What the texture tests look at: pictures made by a formula, and the GL's own copy of a texture.

#include "libgr/image/image.h"
#include "support/gl_context.h"

#include <GL/glew.h>
#include <vector>

namespace test_support {

// A picture whose bytes all differ from their neighbours'.
inline libgr::image2d patterned(std::uint32_t width, std::uint32_t height,
                                const libgr::pixel_descriptor& descriptor) {
    libgr::image2d image;
    image.descriptor = descriptor;
    image.width = width;
    image.height = height;
    EXPECT_TRUE(image.allocate());
    const std::uint64_t row_bytes = (std::uint64_t(width) * libgr::bits_per_pixel(descriptor) + 7) / 8;
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint64_t x = 0; x < row_bytes; ++x)
            image.row(y)[x] = static_cast<unsigned char>(x * 37 + y * 101 + 11);
    }
    return image;
}

inline constexpr libgr::pixel_descriptor rgba8 = {
    libgr::pixel_format::rgba, libgr::sample_type::unsigned_integer, libgr::bits_class::bits_8};
inline constexpr libgr::pixel_descriptor rgb8 = {
    libgr::pixel_format::rgb, libgr::sample_type::unsigned_integer, libgr::bits_class::bits_8};
inline constexpr libgr::pixel_descriptor grey8 = {
    libgr::pixel_format::luminance, libgr::sample_type::unsigned_integer, libgr::bits_class::bits_8};

// A parameter of a level of the bound texture.
inline GLint level_parameter(GLenum target, GLint level, GLenum what) {
    GLint value = -1;
    glGetTexLevelParameteriv(target, level, what, &value);
    return value;
}

// The pixels of a level of the bound texture, rows packed.
inline std::vector<unsigned char> level_pixels(GLenum target, GLint level, GLenum format = GL_RGBA,
                                               GLenum type = GL_UNSIGNED_BYTE, std::size_t pixel_bytes = 4) {
    const GLint width = level_parameter(target, level, GL_TEXTURE_WIDTH);
    const GLint height = level_parameter(target, level, GL_TEXTURE_HEIGHT);
    const GLint depth = level_parameter(target, level, GL_TEXTURE_DEPTH);
    std::vector<unsigned char> pixels(std::size_t(width) * std::size_t(height) * std::size_t(depth) *
                                      pixel_bytes);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glGetTexImage(target, level, format, type, pixels.data());
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    return pixels;
}

// How many of the first names are textures.
inline int living_textures() {
    int count = 0;
    for (GLuint name = 1; name < 4096; ++name)
        count += glIsTexture(name);
    return count;
}

} // namespace test_support
