#pragma once
// The warm glow of keys that are down, and how it fades when they have come up.

#include "render/gl/types.h"
#include "render/math/types.h"
#include "render/surface/appearance.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <vector>

namespace quenvarel {

// Strength of a glow: from 0, none, to that of a key that is down. Each step of a fading key is a picture
// more for which the next key may have to wait, so there are few.
using glow_level = int;
inline constexpr glow_level full_glow = 3;

inline constexpr std::chrono::milliseconds glow_step{30}, glow_fades_in = (full_glow - 1) * glow_step;

// Of a key that came up so long ago.
inline glow_level faded_glow(std::chrono::steady_clock::duration since) {
    return static_cast<glow_level>(
        std::clamp<std::int64_t>(full_glow - 1 - since / glow_step, 0, full_glow - 1));
}

// The textures of glowing keys: instead of its colour picture such a key wears the average of its colours,
// the more amber and the brighter, the more it glows.
class glow_t {
public:
    glow_t() = default;
    ~glow_t() { destroy(); }
    glow_t(const glow_t&) = delete;
    glow_t& operator=(const glow_t&) = delete;

    // Gives the textures back. With the context in which something was drawn.
    void destroy() noexcept;

    // What a key of that colour looks like with that level.
    static render::col3 seen(const render::col3& of_key, glow_level level);
    // For a level from 1 to full_glow. All levels of a colour are made when the first of them is asked for.
    render::gl_uint color(const render::col3& of_key, glow_level level);

private:
    using levels = std::array<render::gl_uint, full_glow>;
    struct colors {
        render::col3 of_key;
        levels textures;
    };
    static levels make_textures(const render::col3& of_key);

    std::vector<colors> colors_;
};

// A key's own pictures but for the colour.
class glowing : public render::appearance {
public:
    glowing(render::appearance& key, render::gl_uint color) : key_(&key), color_(color) {}

    bool has(render::texture_unit unit) override {
        return unit == render::texture_unit::color || key_->has(unit);
    }
    void bind(render::texture_unit unit) override;
    void unbind(render::texture_unit unit) override;
    std::array<float, 2> bump_offset() override { return key_->bump_offset(); }
    bool mercator_sphere() override { return key_->mercator_sphere(); }

private:
    render::appearance* key_;
    render::gl_uint color_;
};

} // namespace quenvarel
