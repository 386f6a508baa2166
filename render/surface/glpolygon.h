#pragma once
// Draws the surfaces of the scene and computes their tangent frames on the GPU.

#include "render/gl/program.h"
#include "render/gl/shader.h"
#include "render/gl/transform_feedback.h"
#include "render/math/types.h"

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace render {

class appearance;
class drawable;
class surroundings;

// Owns the feedback program (captures tangent frames) and the surface program (Phong lighting with colour,
// bump and specular textures and an environment map). Needs OpenGL 3.3. Construct it at any time, call init()
// once when there is a context, and destroy it while the context still exists. Without a context drawing does
// nothing.
class glpolygon_t {
public:
    // Builds both programs. A file feedback.vsd, feedback.fsd, shader.vsd or shader.fsd in the working
    // directory, or with the directory text directly in front of its name, replaces the built-in shader of
    // that role. If a shader does not compile or a program does not link, its log goes to standard error and
    // the process ends with status 1. False, after a line on standard error, if the feedback capture cannot
    // be allocated. False without a context.
    bool init(const std::string& directory);

    // Computes the frames of a surface from the two pairs of directions at each vertex, and copies them into
    // the array with which it is drawn. Unexpected counts of the GL are reported, but do not stop the pass.
    void update_frames(drawable& surface);

    // Draws a surface, blended by its alpha. around: the surroundings, or null; skybox: the shape is the box
    // that shows the surroundings; Globalview: world to eye, of which only the rotation matters; Modelview:
    // object to eye; invModelview: its inverse; LightPosition: in eye space; Shininess: the Phong exponent.
    // Leaves no program in use, blending off and texture unit 0 active. A uniform that has its value already
    // is not sent again, and surroundings that cannot be seen are not bound.
    void drawsolid(surroundings* around, bool skybox, appearance& surface, drawable& shape,
                   const mtx3w& Globalview, const mtx3w& Modelview, const mtx3w& invModelview,
                   const mtx3w& Projection, const pos3& LightPosition, float Shininess);
    // Draws the selected triangles of a surface as a highlight with a quarter of its alpha. The same
    // arguments.
    void drawselect(surroundings* around, bool skybox, appearance& surface, drawable& shape,
                    const mtx3w& Globalview, const mtx3w& Modelview, const mtx3w& invModelview,
                    const mtx3w& Projection, const pos3& LightPosition, float Shininess);

    // The uniforms of the surface program: their number, and their names in the order of the locations.
    static constexpr std::size_t uniform_count = 17;
    static const std::array<const char*, uniform_count>& uniform_names();
    // The locations found by init(); -1 where the program has none.
    const std::array<gl_int, uniform_count>& uniforms() const { return surface_.uniforms; }
    gl_uint surface_program() const { return surface_.program.id(); }
    gl_uint feedback_program() const { return feedback_.id(); }

private:
    struct pass; // the differences between the two ways of drawing
    struct arguments;
    void draw(const pass& how, const arguments& what);

    // A program that lights surfaces.
    struct lighting {
        // These send a uniform to the program, which must be in use, unless the program has no such uniform
        // or was sent the same value last.
        void set(std::size_t which, const mtx3w& value);
        void set(std::size_t which, const pos3& value);
        void set(std::size_t which, const std::array<float, 2>& value);
        void set(std::size_t which, float value);
        void set(std::size_t which, int value);

        program_t program;
        std::array<gl_int, uniform_count> uniforms{};                           // locations
        std::array<std::optional<std::array<float, 16>>, uniform_count> values; // what was sent last

    private:
        // Notes the value; true when it has to be sent.
        bool renew(std::size_t which, std::span<const float> value);
    };

    void build_variant(lighting& made, shader_t& fragment, std::string_view define);

    shader_t feedback_vertex_;
    shader_t feedback_fragment_;
    program_t feedback_;
    transform_feedback_t capture_;
    shader_t surface_vertex_;
    shader_t surface_fragment_;
    shader_t surface_geometry_; // never compiled: the place of a stage between the two
    lighting surface_;

    // Two more surface programs for surfaces that are no spheres: one for those that show no surroundings,
    // one for those that only reflect them. The same result with less work. Not built if a file replaces one
    // of the shaders.
    shader_t plain_fragment_, reflecting_fragment_;
    lighting plain_, reflecting_;
    bool mercator_ = false; // of the last surface
};

} // namespace render
