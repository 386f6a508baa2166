// Transform feedback and queries: a vertex stage's results read back.

#include "render/gl/array_buffer.h"
#include "render/gl/program.h"
#include "render/gl/query.h"
#include "render/gl/shader.h"
#include "render/gl/transform_feedback.h"
#include "support/gl_context.h"
#include "support/gl_faults.h"

namespace {

using namespace render;

class Capture : public test_support::gl_test,
                public testing::WithParamInterface<bool> {}; // whether objects are used

TEST_P(Capture, ReadsBackWhatTheVertexStageComputes) {
    if (GetParam() && !GLEW_VERSION_4_0) GTEST_SKIP() << "needs OpenGL 4.0";
    transform_feedback_t capture(GetParam());
    EXPECT_EQ(capture.id(), 0u);
    ASSERT_TRUE(capture.allocate());
    const gl_uint name = capture.id();
    if (GetParam()) {
        EXPECT_TRUE(glIsTransformFeedback(name));
    } else {
        EXPECT_EQ(name, 1u);
        EXPECT_FALSE(GLEW_VERSION_4_0 && glIsTransformFeedback(name));
    }
    ASSERT_TRUE(capture.allocate());
    EXPECT_EQ(capture.id(), name);

    shader_t vertex;
    ASSERT_TRUE(vertex.compile_text(
        shader_stage::vertex, "#version 330\nlayout(location = 0) in vec3 Position;\nout vec3 doubled;\n"
                              "out float sum;\nvoid main() { doubled = Position * 2.0;\n"
                              "sum = Position.x + Position.y + Position.z; gl_Position = vec4(0.0); }"))
        << vertex.log();
    program_t program;
    program.create();
    program.attach(vertex);
    const char* const names[] = {"doubled", "sum"};
    capture.varyings(program.id(), 2, names);
    ASSERT_TRUE(program.link()) << program.log();

    const float positions[] = {1, 2, 3, 4, 5, 6};
    array_buffer_t input, output;
    ASSERT_TRUE(input.allocate(2, make_layout({attribute::position}), positions));
    ASSERT_TRUE(output.allocate(2, make_layout({attribute::rgba})));
    vertex_array_t vertices;
    vertices.create();
    input.bind_layout_to(vertices, 0);

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

    const float expected[] = {2, 4, 6, 6, 8, 10, 12, 15};
    const float* mapped = output.map();
    ASSERT_NE(mapped, nullptr);
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(mapped[i], expected[i]) << i;
    output.unmap();

    if (GLEW_VERSION_4_0) {
        GLint bound = -1;
        glGetIntegerv(GL_TRANSFORM_FEEDBACK_BINDING, &bound);
        EXPECT_EQ(bound, 0);
    }
    capture.destroy();
    EXPECT_EQ(capture.id(), 0u);
    EXPECT_FALSE(GLEW_VERSION_4_0 && glIsTransformFeedback(name));
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutObjects, Capture, testing::Bool());

class CaptureSteps : public test_support::gl_test {};

TEST_F(CaptureSteps, AreLabelled) {
    transform_feedback_t capture;
    ASSERT_TRUE(capture.allocate());
    EXPECT_EQ(capture.uses_object(), bool(GLEW_VERSION_4_0));
    array_buffer_t output;
    ASSERT_TRUE(output.allocate(1, make_layout({attribute::position})));
    {
        const test_support::watched<&__glewBindTransformFeedback> objects;
        const test_support::watched<&__glewBindBufferBase> buffers;
        const test_support::watched<&__glewBeginTransformFeedback> begun;
        const test_support::watched<&__glewEndTransformFeedback> ended;
        glEnable(0xFFFF);
        capture.begin(primitive::points, 0);
        EXPECT_EQ(step_labels(), "transform_feedback_t::begin(0)\n");
        // No program is in use, so the GL refuses both itself as well.
        capture.begin(primitive::points, output.id());
        const std::string object = capture.uses_object() ? "transform_feedback_t::begin(1)\n" : "";
        EXPECT_EQ(step_labels(), object + "transform_feedback_t::begin(2)\ntransform_feedback_t::begin(3)\n");
        glEnable(0xFFFF);
        while (glGetError() != GL_NO_ERROR) {
        }
        glEnable(0xFFFF);
        capture.end();
        EXPECT_EQ(
            step_labels(),
            "transform_feedback_t::end(0)\ntransform_feedback_t::end(1)\ntransform_feedback_t::end(4)\n");
    }
    while (glGetError() != GL_NO_ERROR) {
    }

    query_t query; // never begun: there is no result to ask for
    query.create();
    glEnable(0xFFFF);
    query.GetQuery();
    EXPECT_EQ(step_labels(), "query_t::GetQuery(1)\nquery_t::GetQuery(end)\n");
}

TEST_F(CaptureSteps, BuffersAreAttachedToTheObjectItself) {
    transform_feedback_t capture;
    ASSERT_TRUE(capture.allocate());
    if (!capture.uses_object() || !GLEW_VERSION_4_5) GTEST_SKIP() << "needs OpenGL 4.5";
    array_buffer_t output;
    ASSERT_TRUE(output.allocate(1, make_layout({attribute::position})));
    const auto attached = [&] {
        GLint name = -1;
        glGetTransformFeedbacki_v(capture.id(), GL_TRANSFORM_FEEDBACK_BUFFER_BINDING, 0, &name);
        return gl_uint(name);
    };
    capture.attach_buffer(0, output.id());
    EXPECT_EQ(attached(), output.id());
    capture.detach_buffer(0);
    EXPECT_EQ(attached(), 0u);
}

} // namespace
