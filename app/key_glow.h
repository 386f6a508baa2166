#pragma once
// The warm glow of keys that are down, and how it fades when they have come up.

#include "render/gl/types.h"
#include "render/surface/appearance.h"

#include <algorithm>
#include <array>
#include <chrono>

namespace quenvarel {

// Strength of a glow: from 0, none, to that of a key that is down.
using glow_level = int;
inline constexpr glow_level full_glow = 6;

inline constexpr std::chrono::milliseconds glow_fades_in{64};

// Of a key that came up so long ago.
inline glow_level faded_glow(std::chrono::steady_clock::duration since) {
    const double left = 1 - std::chrono::duration<double>(since) / glow_fades_in;
    return std::clamp(static_cast<glow_level>(left * full_glow + 1), 0, left > 0 ? full_glow : 0);
}

// What is drawn over a key: one warm colour that lets the more of it through the weaker it glows. Draw with a
// level from 1 to full_glow.
class glow_t : public render::appearance {
public:
    glow_t() = default;
    ~glow_t() override { destroy(); }
    glow_t(const glow_t&) = delete;
    glow_t& operator=(const glow_t&) = delete;

    void set(glow_level level) { level_ = level; }
    // Gives the textures back. With the context in which something was drawn.
    void destroy() noexcept;

    bool has(render::texture_unit) override { return true; }
    void bind(render::texture_unit unit) override;
    void unbind(render::texture_unit unit) override;
    std::array<float, 2> bump_offset() override { return {}; }
    bool mercator_sphere() override { return false; }

private:
    void make();

    glow_level level_ = full_glow;
    // One pixel each: flat, without a highlight, and a colour for every level from 1 on.
    std::array<render::gl_uint, 2 + full_glow> textures_{};
};

} // namespace quenvarel
