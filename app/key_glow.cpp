#include "app/key_glow.h"

#include "render/gl/step_check.h"

#include <GL/glew.h>

#include <cstddef>

namespace quenvarel {

namespace {

enum : std::size_t { flat, no_highlight, first_color };

constexpr std::array<GLubyte, 3> color = {255, 106, 12};
constexpr double opacity = 0.70; // of a key that is down
// The length of its normals, by which light is multiplied: the glow is also seen on sides turned away from
// it.
constexpr float brightness = 1.5f;

} // namespace

void glow_t::make() {
    glGenTextures(static_cast<GLsizei>(textures_.size()), textures_.data());
    for (std::size_t i = 0; i < textures_.size(); ++i) {
        glBindTexture(GL_TEXTURE_2D, textures_[i]);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        if (i == flat) {
            const GLfloat upwards[] = {0, 0, brightness};
            glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB16F, 1, 1, 0, GL_RGB, GL_FLOAT, upwards);
            continue;
        }
        GLubyte pixel[] = {0, 0, 0, 0};
        if (i >= first_color) {
            std::copy(color.begin(), color.end(), pixel);
            pixel[3] = static_cast<GLubyte>(255 * opacity * double(i - first_color + 1) / full_glow);
        }
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 1, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE, pixel);
    }
}

void glow_t::destroy() noexcept {
    if (textures_[0] != 0 && render::has_context())
        glDeleteTextures(static_cast<GLsizei>(textures_.size()), textures_.data());
    textures_ = {};
}

void glow_t::bind(render::texture_unit unit) {
    if (textures_[0] == 0) make();
    std::size_t which = flat;
    if (unit == render::texture_unit::specular) which = no_highlight;
    if (unit == render::texture_unit::color) which = first_color + static_cast<std::size_t>(level_ - 1);
    glBindTexture(GL_TEXTURE_2D, textures_[which]);
}

void glow_t::unbind(render::texture_unit) {
    glBindTexture(GL_TEXTURE_2D, 0);
}

} // namespace quenvarel
