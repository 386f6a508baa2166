#pragma once
// The shader programs that come with the renderer, as texts.

#include "render/gl/shader.h"

#include <span>
#include <string_view>

namespace render {

struct builtin_shader {
    std::string_view role;
    shader_stage stage;
    std::string_view text; // begins with "#version 330"
};

// All sixteen in the order in which they are stored. Two roles appear twice: "coloured points" with one text,
// and "coloured" with its two outputs written in the other order.
std::span<const builtin_shader> builtin_shaders();

// The four that the surface renderer uses when no file replaces them.
const builtin_shader& builtin_feedback_vertex();
const builtin_shader& builtin_feedback_fragment();
const builtin_shader& builtin_surface_vertex();
const builtin_shader& builtin_surface_fragment();

} // namespace render
