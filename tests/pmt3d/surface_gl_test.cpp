// Surfaces and pictures in the GL: what is drawn, what is uploaded and when, and frames computed there.
#include "libgr/texture/surface_texture.h"
#include "pmt3d/mirror/control_points.h"
#include "pmt3d/mirror/polygon_mirror.h"
#include "render/gl/query.h"
#include "render/math/operations.h"
#include "render/surface/glpolygon.h"

#include "support/gl_context.h"
#include "support/gl_faults.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using pmt3d::element_t;
using pmt3d::polygon_mirror;
using pmt3d::polygon_t;
using pmt3d::strip_end;
using test_support::watched;

constexpr render::mtx3w unit = render::mtx3w::identity();

class surface_gl : public test_support::gl_test {
protected:
    void SetUp() override {
        gl_test::SetUp();
        ASSERT_TRUE(renderer_.init(""));
        texture_.open("");
        take_err(); // uniforms that the driver left out
    }

    // How many primitives the GL makes.
    static std::uint64_t primitives(auto&& work) {
        render::query_t query;
        query.begin(render::query_target::primitives_generated, 0);
        work();
        query.end();
        return query.GetQuery();
    }
    // Draws with the surface program.
    std::uint64_t draw(polygon_mirror& polygon, bool selection = false) {
        const auto drawing = selection ? &render::glpolygon_t::drawselect : &render::glpolygon_t::drawsolid;
        return primitives([&] {
            (renderer_.*drawing)(nullptr, false, texture_, polygon, unit, unit, unit, unit, {0, 0, 1}, 5.0f);
        });
    }
    // How often something is uploaded.
    static int uploads(auto&& work) {
        const watched<&__glewBufferSubData> counted(false);
        work();
        return counted.calls();
    }

    render::glpolygon_t renderer_;
    libgr::texture_t texture_;
};

polygon_t surface(std::uint64_t vertices, const std::vector<element_t>& elements) {
    polygon_t polygon;
    polygon.allocate(vertices, elements.size());
    for (std::uint64_t i = 0; i < vertices; ++i)
        polygon.edit_vertices()[i] = {{float(i % 2), float(i / 2), 0}, {1, 0, 0, 1}, {0, 0}};
    std::copy(elements.begin(), elements.end(), polygon.edit_elements().begin());
    polygon.rebuildpolyids();
    return polygon;
}

TEST_F(surface_gl, draws_the_triangles_of_the_strips) {
    // Indices that name no vertex end a strip, as they do on the CPU, and are not read by the GL.
    polygon_t polygon = surface(6, {0, 1, 2, 3, strip_end, 3, 4, 5, 4000000000u, 0, 6, 1, 2, 3, 4, 5}), empty;
    polygon_mirror mirror(polygon), no_mirror(empty);
    EXPECT_EQ(draw(mirror), 6u);
    EXPECT_EQ(draw(mirror, true), 0u); // nothing is selected
    polygon.selectpolygon(1);
    polygon.selectpolygon(4);
    EXPECT_EQ(draw(mirror, true), 2u);
    polygon.unselectpolygon(1);
    EXPECT_EQ(draw(mirror, true), 1u);
    polygon.extend(6, 18);
    std::fill(polygon.edit_elements().begin() + 2, polygon.edit_elements().end(), 5);
    EXPECT_EQ(draw(mirror), 16u);
    mirror.release();
    EXPECT_EQ(draw(mirror), 16u);
    EXPECT_EQ(draw(no_mirror) + draw(no_mirror, true), 0u);
    EXPECT_FALSE(glIsEnabled(GL_PRIMITIVE_RESTART));
}

TEST_F(surface_gl, uploads_only_what_has_changed) {
    polygon_t polygon = surface(6, {0, 1, 2, 3, 4, 5});
    polygon_mirror mirror(polygon);
    const auto draw_it = [&] { draw(mirror); };
    EXPECT_EQ(uploads(draw_it), 3); // vertices, frames, elements
    EXPECT_EQ(uploads(draw_it), 0);
    polygon.edit_vertices()[0].position.x = 5;
    EXPECT_EQ(uploads(draw_it), 1);
    polygon.rebuildpolyids(); // all frames are there
    EXPECT_EQ(uploads(draw_it), 0);
    for (const float z : {0.0f, 1.0f}) { // filled by the rebuild, or as it is
        polygon.edit_normals()[2].normal = {0, 0, z};
        polygon.rebuildpolyids();
        EXPECT_EQ(uploads(draw_it), 1);
    }
    polygon.getarray(1).data[0] = 1;
    polygon.edit_elements()[5] = 0;
    EXPECT_EQ(uploads(draw_it), 2);

    const auto draw_points = [&] { mirror.draw_points(); };
    EXPECT_EQ(uploads(draw_points), 1); // the marks
    EXPECT_TRUE(polygon.markvertex(3));
    EXPECT_EQ(uploads(draw_points), 1);
    EXPECT_FALSE(polygon.markvertex(3));
    EXPECT_EQ(uploads(draw_points), 0);
    polygon.clearmarks();
    EXPECT_EQ(uploads(draw_points), 1);

    // Another surface in its place is another one's arrays, a copy of itself is not.
    polygon_t other = surface(6, {0, 1, 2, 3, 4, 5});
    polygon = polygon_t(polygon);
    EXPECT_EQ(uploads(draw_it), 0);
    polygon = other;
    EXPECT_EQ(uploads(draw_it), 3);
}

// The floats of an attribute in the vertex array that was made last.
GLint floats_of(GLuint attribute) {
    GLuint array = 0;
    for (GLuint name = 1; name < 100; ++name)
        if (glIsVertexArray(name)) array = name;
    GLint floats = 0;
    glBindVertexArray(array);
    glGetVertexAttribiv(attribute, GL_VERTEX_ATTRIB_ARRAY_SIZE, &floats);
    glBindVertexArray(0);
    return floats;
}

TEST_F(surface_gl, every_vertex_is_a_point) {
    polygon_t polygon = surface(6, {});
    polygon_mirror mirror(polygon);
    pmt3d::nurbs_t nurbs;
    pmt3d::control_points_mirror control_points(nurbs);
    nurbs.allocate(3, 1, 4, 1);
    nurbs.afterload("net");
    nurbs.markvertex(11);
    texture_.mercatorsphere = true; // so that the surface program draws, which gives the samplers their units
    draw(mirror);
    glUseProgram(renderer_.surface_program());
    EXPECT_EQ(primitives([&] { EXPECT_EQ(mirror.draw_surface_points(), 6u); }), 6u);
    EXPECT_EQ(primitives([&] { mirror.draw_points(); }), 6u);
    EXPECT_EQ(floats_of(2), 1) << "sizes in the place of texture coordinates";
    EXPECT_EQ(primitives([&] { mirror.draw_feedback_points(); }), 6u);
    EXPECT_EQ(primitives([&] { control_points.draw_points(); }), 12u);
    EXPECT_TRUE(floats_of(1) == 4 && floats_of(2) == 1);
    nurbs.unmarkvertex(11);
    EXPECT_EQ(uploads([&] { EXPECT_EQ(primitives([&] { control_points.draw_points(); }), 12u); }),
              1); // the marks
    nurbs.getarray(0).data[0] = 1;
    EXPECT_EQ(uploads([&] { control_points.draw_points(); }), 1); // the points
    glUseProgram(0);
}

TEST_F(surface_gl, frames_of_the_gpu_are_those_of_the_cpu) {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> number(-1.0f, 1.0f);
    const auto direction = [&] { return render::dir3{number(random), number(random), number(random)}; };
    polygon_t gpu = surface(20'000, {0, 1, 2});
    for (pmt3d::differences_t& d : gpu.edit_wknmls()) {
        // Steps forward and backward along much the same way: no sum is near 0, where rounding decides.
        d.forward_u = direction() + render::dir3{2, 0, 0};
        d.forward_v = direction() + render::dir3{0, 2, 0};
        d.backward_u = d.forward_u + 0.3f * direction();
        d.backward_v = d.forward_v + 0.3f * direction();
    }
    polygon_t cpu = gpu, other = gpu;
    const pmt3d::frame_update update = pmt3d::renderer_frames(renderer_);
    update(gpu);
    pmt3d::average_frames(cpu);
    const auto a = std::as_const(gpu).getarray(1), b = std::as_const(cpu).getarray(1);
    for (std::uint64_t i = 0; i < a.count * a.stride; ++i)
        ASSERT_NEAR(a.data[i], b.data[i], 1e-5f) << i;
    EXPECT_NE(a.data[8], 0.0f);
    // Without a context the same function computes them on the CPU.
    test_support::without_context(), update(other);
    EXPECT_EQ(other.normals()[7].normal, cpu.normals()[7].normal);
    // What a mirror has computed in the GL it does not upload again.
    polygon_mirror mirror(other);
    renderer_.update_frames(mirror);
    mirror.fetch_frames();
    EXPECT_EQ(uploads([&] { draw(mirror); }), 1); // the elements
}

TEST_F(surface_gl, survives_the_loss_of_its_context) {
    polygon_t polygon = surface(6, {0, 1, 2, 3, 4, 5});
    auto mirror = std::make_unique<polygon_mirror>(polygon);
    draw(*mirror);
    const test_support::without_context none;
    mirror->draw();
    mirror->draw_selection();
    mirror->draw_points();
    mirror->draw_feedback_points();
    EXPECT_EQ(mirror->draw_surface_points(), 6u);
    mirror->fetch_frames();
    mirror.reset();
    EXPECT_EQ(take_err(), "");
}

TEST_F(surface_gl, a_failing_step_of_an_allocation_is_reported) {
    glEnable(GL_FOG + 1000); // leaves an error behind
    polygon_t polygon;
    polygon.allocate(1, 1);
    EXPECT_TRUE(take_err().starts_with("polygon_t::allocate(0): Error 1280"));
}

} // namespace
