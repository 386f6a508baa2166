#pragma once
// The source texts of the built-in shaders.

#include "render/gl/shader.h"

#include <span>
#include <string_view>

namespace render {

struct builtin_shader {
    std::string_view role;
    shader_stage stage;
    std::string_view text; // begins with "#version 330"
};

// All of them in the order in which they are stored. The renderer uses four: frames, phong and the two of
// surface. points_fragment_again repeats points_fragment; clip_lines_vertex is colored_vertex with its two
// outputs written in the other order.
enum class stored_shader {
    plain_fragment,
    plain_vertex,
    morphing_fragment,
    morphing_vertex,
    surface_fragment,
    selection_geometry,
    surface_vertex,
    points_fragment,
    clipped_points_vertex,
    phong_fragment,
    frames_vertex,
    points_fragment_again,
    colored_vertex,
    clip_lines_fragment,
    clip_lines_geometry,
    clip_lines_vertex
};

const builtin_shader& builtin(stored_shader which);
std::span<const builtin_shader> builtin_shaders();

} // namespace render
