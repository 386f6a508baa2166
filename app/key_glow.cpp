#include "app/key_glow.h"

#include "render/gl/step_check.h"

#include <GL/glew.h>

#include <cmath>
#include <cstddef>

namespace quenvarel {

namespace {

constexpr render::col3 amber = {1.0f, 0.50f, 0.04f};
constexpr float most = 0.92f; // share of it in a key that is down

} // namespace

void glow_t::destroy() noexcept {
    if (render::has_context())
        for (const colors& made : colors_)
            glDeleteTextures(full_glow, made.textures.data());
    colors_.clear();
}

render::gl_uint glow_t::color(const render::col3& of_key, glow_level level) {
    auto found = std::find_if(colors_.begin(), colors_.end(),
                              [&](const colors& made) { return made.of_key == of_key; });
    if (found == colors_.end()) found = colors_.insert(found, {of_key, make_textures(of_key)});
    return found->textures[static_cast<std::size_t>(level - 1)];
}

render::col3 glow_t::seen(const render::col3& of_key, glow_level level) {
    const float share = most * static_cast<float>(level) / full_glow;
    return {std::lerp(of_key.r, amber.r, share), std::lerp(of_key.g, amber.g, share),
            std::lerp(of_key.b, amber.b, share)};
}

glow_t::levels glow_t::make_textures(const render::col3& of_key) {
    levels names{};
    glGenTextures(full_glow, names.data());
    for (std::size_t i = 0; i < names.size(); ++i) {
        const render::col3 color = seen(of_key, static_cast<glow_level>(i + 1));
        const float pixel[] = {color.r, color.g, color.b};
        glBindTexture(GL_TEXTURE_2D, names[i]);
        // As those of the usual keys, for which a software renderer has its programs ready.
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB8, 1, 1, 0, GL_RGB, GL_FLOAT, pixel);
    }
    glBindTexture(GL_TEXTURE_2D, 0);
    return names;
}

void glowing::bind(render::texture_unit unit) {
    if (unit == render::texture_unit::color)
        glBindTexture(GL_TEXTURE_2D, color_);
    else
        key_->bind(unit);
}

void glowing::unbind(render::texture_unit unit) {
    if (unit == render::texture_unit::color)
        glBindTexture(GL_TEXTURE_2D, 0);
    else
        key_->unbind(unit);
}

} // namespace quenvarel
