#pragma once
// What the texture tests look at: pictures made by a formula, and the GL's own copy of a texture.

#include "libgr/image/image.h"
#include "support/gl_context.h"

#include <GL/glew.h>
#include <cstring>
#include <vector>

namespace test_support {

using bytes = std::vector<unsigned char>;

// A picture whose bytes all differ from their neighbours', or all are the same.
inline libgr::image2d patterned(std::uint32_t width, std::uint32_t height,
                                const libgr::pixel_descriptor& descriptor, int everywhere = -1) {
    libgr::image2d image;
    image.descriptor = descriptor;
    image.width = width;
    image.height = height;
    EXPECT_TRUE(image.allocate());
    const std::uint64_t row_bytes = (std::uint64_t(width) * libgr::bits_per_pixel(descriptor) + 7) / 8;
    for (std::uint32_t y = 0; y < height; ++y)
        for (std::uint64_t x = 0; x < row_bytes; ++x)
            image.row(y)[x] = static_cast<unsigned char>(everywhere < 0 ? x * 37 + y * 101 + 11 : everywhere);
    return image;
}

// The picture's rows without padding.
inline bytes packed_rows(const libgr::image2d& image) {
    const std::uint64_t row = std::uint64_t(image.width) * bits_per_pixel(image.descriptor) / 8;
    bytes all;
    for (std::uint32_t y = 0; y < image.height; ++y)
        all.insert(all.end(), image.row(y), image.row(y) + row);
    return all;
}

// A parameter of a level of the bound texture, and of the texture itself.
inline GLint level_parameter(GLenum target, GLint level, GLenum what = GL_TEXTURE_WIDTH) {
    GLint value = -1;
    glGetTexLevelParameteriv(target, level, what, &value);
    return value;
}
inline GLint texture_parameter(GLenum target, GLenum what) {
    GLint value = -1;
    glGetTexParameteriv(target, what, &value);
    return value;
}

// The pixels of a level of the bound texture, rows packed.
inline bytes level_pixels(GLenum target, GLint level, GLenum format = GL_RGBA, GLenum type = GL_UNSIGNED_BYTE,
                          std::size_t pixel_bytes = 4) {
    bytes pixels(std::size_t(level_parameter(target, level)) *
                 std::size_t(level_parameter(target, level, GL_TEXTURE_HEIGHT)) *
                 std::size_t(level_parameter(target, level, GL_TEXTURE_DEPTH)) * pixel_bytes);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glGetTexImage(target, level, format, type, pixels.data());
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    return pixels;
}

} // namespace test_support
