// Vertex layouts, transform feedback and queries: a vertex stage's results read back.

#include "render/gl/array_buffer.h"
#include "render/gl/program.h"
#include "render/gl/query.h"
#include "render/gl/shader.h"
#include "render/gl/transform_feedback.h"
#include "support/gl_context.h"

#include <GL/glew.h>

namespace {

using namespace render;

class Capture : public test_support::gl_test,
                public testing::WithParamInterface<bool> {}; // whether objects are used

TEST_P(Capture, ReadsBackWhatTheVertexStageComputes) {
    if (GetParam() && !GLEW_VERSION_4_0) GTEST_SKIP() << "needs OpenGL 4.0";
    transform_feedback_t capture(GetParam());
    ASSERT_TRUE(capture.allocate());
    const gl_uint name = capture.id();
    ASSERT_TRUE(capture.allocate());
    EXPECT_EQ(capture.id(), name) << "generated once";
    const auto exists = [name] { return GLEW_VERSION_4_0 && glIsTransformFeedback(name); };
    EXPECT_EQ(exists(), GetParam());
    if (!GetParam()) {
        EXPECT_EQ(name, 1u);
    }

    shader_t vertex;
    ASSERT_TRUE(vertex.compile_text(
        shader_stage::vertex,
        "#version 330\nlayout(location = 2) in vec3 Position;\nlayout(location = 3) in vec2 TexCoord;\n"
        "layout(location = 4) in float Size;\nout vec3 doubled;\nout vec3 others;\n"
        "void main() { doubled = Position * 2.0; others = vec3(TexCoord, Size); gl_Position = vec4(0.0); }"))
        << vertex.log();
    program_t program;
    program.create();
    program.attach(vertex);
    const char* const names[] = {"doubled", "others"};
    capture.varyings(program.id(), 2, names);
    ASSERT_TRUE(program.link()) << program.log();

    const float input_floats[] = {1, 2, 3, 40, 50, 60, 4, 5, 6, 70, 80, 90};
    array_buffer_t input, output;
    ASSERT_TRUE(input.allocate(
        2, make_layout({attribute::position, attribute::texcoord2, attribute::point_size}), input_floats));
    ASSERT_TRUE(output.allocate(4, make_layout({attribute::position})));
    vertex_array_t vertices;
    vertices.create();
    input.bind_layout_to(vertices, 2);

    query_t written, generated;
    program.use();
    written.begin(query_target::primitives_written);
    generated.begin(query_target::primitives_generated);
    glEnable(GL_RASTERIZER_DISCARD);
    capture.begin(primitive::points, output.id());
    vertices.draw_arrays(primitive::points, 2);
    capture.end();
    glDisable(GL_RASTERIZER_DISCARD);
    written.end();
    generated.end();
    program_t::unuse();
    EXPECT_EQ(written.GetQuery(), 2u);
    EXPECT_EQ(generated.GetQuery(), 2u);
    const float* mapped = output.map();
    ASSERT_NE(mapped, nullptr);
    EXPECT_EQ(std::vector<float>(mapped, mapped + 12),
              (std::vector<float>{2, 4, 6, 40, 50, 60, 8, 10, 12, 70, 80, 90}));
    output.unmap();
    if (GLEW_VERSION_4_0) {
        EXPECT_EQ(state(GL_TRANSFORM_FEEDBACK_BINDING), 0);
    }

    if (GetParam() && GLEW_VERSION_4_5) {
        const auto attached = [&] {
            GLint buffer = -1;
            glGetTransformFeedbacki_v(name, GL_TRANSFORM_FEEDBACK_BUFFER_BINDING, 0, &buffer);
            return gl_uint(buffer);
        };
        capture.attach_buffer(0, output.id());
        EXPECT_EQ(attached(), output.id());
        capture.detach_buffer(0);
        EXPECT_EQ(attached(), 0u);
    }
    capture.destroy();
    EXPECT_EQ(capture.id(), 0u);
    EXPECT_FALSE(exists());
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutObjects, Capture, testing::Bool());

} // namespace
