#pragma once
// One program made of built-in shaders, run on single vertices.

#include "render/gl/program.h"
#include "render/gl/shader.h"
#include "render/gl/vertex_array.h"
#include "render/math/types.h"
#include "render/surface/builtin_shaders.h"

#include <GL/glew.h>
#include <deque>
#include <functional>
#include <initializer_list>
#include <vector>

namespace test_support {

// The colour that a picture of one pixel has after the drawing; it starts with `before`. Not clamped.
render::vec3w pixel_drawn(const std::function<void()>& draw, const render::vec3w& before = {});

class rig {
public:
    // What is captured when it runs, for programs that are to run().
    explicit rig(std::initializer_list<render::stored_shader> shaders,
                 std::vector<const char*> captured = {});

    // A matrix is sent as the renderer does, with the transpose flag.
    void set(const char* uniform, const render::mtx3w& value);
    void set(const char* uniform, std::initializer_list<float> value);
    void set(const char* uniform, int value);

    // Draws triangles where the program has a geometry stage, points otherwise, and returns what is captured.
    std::vector<float> run(const render::layout_ref& layout, const std::vector<float>& vertices,
                           std::size_t floats_captured);
    // Draws them into the one pixel and returns its colour.
    render::vec3w pixel(const render::layout_ref& layout, const std::vector<float>& vertices);

private:
    void draw(const render::layout_ref& layout, const std::vector<float>& vertices);

    std::deque<render::shader_t> shaders_;
    render::program_t program_;
    render::primitive shape_ = render::primitive::points;
};

} // namespace test_support
