#pragma once
// Surfaces, pictures and surroundings of the renderer's tests, made by hand.

#include "render/gl/array_buffer.h"
#include "render/gl/element_array.h"
#include "render/math/types.h"
#include "render/surface/appearance.h"
#include "render/surface/drawable.h"
#include "render/surface/feedback_buffer.h"

#include <GL/glew.h>
#include <array>
#include <functional>
#include <vector>

namespace test_support {

struct test_vertex {
    render::pos3 position;
    render::col3a color;
    render::txc2 texcoord;
    render::dir3 tangent, binormal, normal;
};
inline render::layout_ref surface_layout() {
    using enum render::attribute;
    return render::make_layout({position, rgba, texcoord2, position, position, position});
}

// Triangle strips in a GL buffer of their own.
class test_surface : public render::drawable {
public:
    test_surface(const std::vector<test_vertex>& vertices, const std::vector<std::uint32_t>& strips);

    // For the frame pass: two pairs of directions at every vertex, and room for floats captured floats.
    void set_directions(const std::vector<std::array<render::dir3, 4>>& directions, std::uint64_t floats);

    void draw() override;
    void draw_selection() override { draw(); }
    void draw_feedback_points() override;
    std::uint64_t feedback_vertex_count() override { return count_; }
    render::feedbackbuffer& feedback_buffer() override { return captured_; }
    render::array_buffer_t& frame_array() override { return frames_; }

    render::primitive shape = render::primitive::triangle_strip;
    std::function<void()> while_drawing; // called by both draws

private:
    std::uint64_t count_;
    render::array_buffer_t vertices_, frames_, directions_;
    render::element_array_t elements_;
    render::vertex_array_t layout_, feedback_layout_;
    render::feedbackbuffer captured_;
};

// A rectangle of 2 by 2 around the origin in the plane z = 0, facing +z, texture coordinates 0 to 1.
std::vector<test_vertex> square_vertices(const render::col3a& color);
inline const std::vector<std::uint32_t> square_strip = {0, 1, 2, 3};

// A two-dimensional or cube-map texture of floats, nearest filtered unless smooth. Faces follow each other.
class test_texture {
public:
    test_texture(GLenum target, int width, int height, const render::vec3w* pixels, bool smooth = false);
    ~test_texture() { glDeleteTextures(1, &name); }
    test_texture(const test_texture&) = delete;
    test_texture& operator=(const test_texture&) = delete;
    GLenum target;
    GLuint name = 0;
};

// Pictures of a surface, null for none.
class test_appearance : public render::appearance {
public:
    bool has(render::texture_unit unit) override { return textures[unsigned(unit)] != nullptr; }
    void bind(render::texture_unit unit) override {
        glBindTexture(GL_TEXTURE_2D, textures[unsigned(unit)]->name);
    }
    void unbind(render::texture_unit) override { glBindTexture(GL_TEXTURE_2D, 0); }
    std::array<float, 2> bump_offset() override { return offset; }
    bool mercator_sphere() override { return mercator; }

    std::array<const test_texture*, 3> textures{};
    std::array<float, 2> offset{};
    bool mercator = false;
};

class test_surroundings : public render::surroundings {
public:
    bool has_cube() override { return cube != nullptr; }
    void bind_cube() override { glBindTexture(GL_TEXTURE_CUBE_MAP, cube->name); }
    void unbind_cube() override { glBindTexture(GL_TEXTURE_CUBE_MAP, 0); }
    float reflect_alpha() override { return reflect; }
    float refract_alpha() override { return refract; }
    float refract_factor() override { return factor; }

    const test_texture* cube = nullptr;
    float reflect = 0, refract = 0, factor = 0;
};

} // namespace test_support
