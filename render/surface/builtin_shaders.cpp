#include "render/surface/builtin_shaders.h"

namespace render {

namespace shaders {
// The files of shaders/, embedded by the build.
extern const std::string_view clip_lines_frag, clip_lines_geom, clipped_points_vert, colored_frag,
    colored_vert, colored_for_lines_vert, frames_vert, morphing_frag, morphing_vert, phong_frag, plain_frag,
    plain_vert, selection_geom, surface_frag, surface_vert;
} // namespace shaders

std::span<const builtin_shader> builtin_shaders() {
    using enum shader_stage;
    static const builtin_shader all[] = {
        {"plain textured", fragment, shaders::plain_frag},
        {"plain textured", vertex, shaders::plain_vert},
        {"morphing surface", fragment, shaders::morphing_frag},
        {"morphing surface", vertex, shaders::morphing_vert},
        {"surface", fragment, shaders::surface_frag},
        {"selection highlight", geometry, shaders::selection_geom},
        {"surface", vertex, shaders::surface_vert},
        {"coloured points", fragment, shaders::colored_frag},
        {"clipped coloured points", vertex, shaders::clipped_points_vert},
        {"Phong", fragment, shaders::phong_frag},
        {"frame averaging", vertex, shaders::frames_vert},
        {"coloured points", fragment, shaders::colored_frag},
        {"coloured", vertex, shaders::colored_vert},
        {"clip-lines", fragment, shaders::clip_lines_frag},
        {"clip-lines", geometry, shaders::clip_lines_geom},
        {"coloured", vertex, shaders::colored_for_lines_vert},
    };
    return all;
}

const builtin_shader& builtin(stored_shader which) {
    return builtin_shaders()[std::size_t(which)];
}

} // namespace render
