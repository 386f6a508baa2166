#include "test_surface.h"

namespace test_support {

using namespace render;

test_surface::test_surface(const std::vector<test_vertex>& vertices, const std::vector<std::uint32_t>& strips)
    : count_(vertices.size()) {
    vertices_.allocate(count_, surface_layout(), vertices.data());
    elements_.allocate(strips.size());
    elements_.upload(strips);
    layout_.create();
    vertices_.bind_layout_to(layout_, 0);
}

void test_surface::set_directions(const std::vector<std::array<dir3, 4>>& directions, std::uint64_t floats) {
    using enum attribute;
    frames_.allocate(count_, make_layout({position, position, position}));
    directions_.allocate(directions.size(), make_layout({position, position, position, position}),
                         directions.data());
    feedback_layout_.create();
    vertices_.bind_layout_to(feedback_layout_, 0);
    directions_.bind_layout_to(feedback_layout_, 3);
    captured_.allocate(floats);
}

void test_surface::draw() {
    elements_.draw(layout_, shape);
    if (while_drawing) while_drawing();
}

void test_surface::draw_feedback_points() {
    feedback_layout_.draw_arrays(primitive::points, count_);
}

std::vector<test_vertex> square_vertices(const col3a& color) {
    std::vector<test_vertex> all;
    for (const float x : {-1.0f, 1.0f})
        for (const float y : {1.0f, -1.0f})
            all.push_back({{x, y, 0}, color, {x / 2 + 0.5f, y / 2 + 0.5f}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}});
    return all;
}

test_texture::test_texture(GLenum kind, int width, int height, const vec3w* pixels, bool smooth)
    : target(kind) {
    glGenTextures(1, &name);
    glBindTexture(target, name);
    const bool cube = target == GL_TEXTURE_CUBE_MAP;
    for (unsigned face = 0; face < (cube ? 6 : 1); ++face, pixels += width * height)
        glTexImage2D(cube ? GL_TEXTURE_CUBE_MAP_POSITIVE_X + face : target, 0, GL_RGBA32F, width, height, 0,
                     GL_RGBA, GL_FLOAT, pixels);
    glTexParameteri(target, GL_TEXTURE_MIN_FILTER, smooth ? GL_LINEAR : GL_NEAREST);
    glTexParameteri(target, GL_TEXTURE_MAG_FILTER, smooth ? GL_LINEAR : GL_NEAREST);
    glBindTexture(target, 0);
}

} // namespace test_support
