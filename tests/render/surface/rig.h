#pragma once
// One program made of built-in shaders, asked what it has and run on single vertices.

#include "render/gl/array_buffer.h"
#include "render/gl/program.h"
#include "render/gl/shader.h"
#include "render/math/types.h"
#include "render/surface/builtin_shaders.h"

#include <GL/glew.h>
#include <deque>
#include <initializer_list>
#include <string>
#include <vector>

namespace test_support {

class rig {
public:
    // The built-in shaders with these indices; what is captured when it runs.
    rig(std::initializer_list<int> shaders, std::vector<const char*> captured = {});

    bool linked() const { return linked_; }
    std::string log() const { return program_.log(); }
    GLuint id() const { return program_.id(); }

    // One line for each attribute ("in LOCATION NAME TYPE"), active uniform ("uniform NAME TYPE"), fragment
    // output
    // ("out LOCATION NAME TYPE") and captured varying ("captured NAME TYPE"), the first three kinds sorted.
    std::string interface() const;

    void set(const char* uniform,
             const render::mtx3w& value); // as the renderer does, with the transpose flag
    void set(const char* uniform, std::initializer_list<float> value);
    void set(const char* uniform, int value);

    // Draws the vertices with the attributes of the layout at locations 0, 1, ... and returns the captured
    // floats. A program with a geometry stage draws triangles, any other points.
    std::vector<float> run(const render::layout_ref& layout, const std::vector<float>& vertices,
                           int floats_captured);

private:
    std::deque<render::shader_t> shaders_;
    render::program_t program_;
    bool linked_ = false, triangles_ = false;
};

} // namespace test_support
