// Transform feedback objects. What is captured with them, render_surface_test compares.

#include "render/gl/array_buffer.h"
#include "render/gl/transform_feedback.h"
#include "support/gl_context.h"

#include <GL/glew.h>

namespace {

using namespace render;

class Capture : public test_support::gl_test,
                public testing::WithParamInterface<bool> {}; // whether objects are used

TEST_P(Capture, HasAnObjectWhereTheGLHasThem) {
    if (GetParam() && !GLEW_VERSION_4_0) GTEST_SKIP() << "needs OpenGL 4.0";
    EXPECT_EQ(transform_feedback_t().uses_object(), bool(GLEW_VERSION_4_0));
    transform_feedback_t capture(GetParam());
    ASSERT_TRUE(capture.allocate());
    const gl_uint name = capture.id();
    ASSERT_TRUE(capture.allocate());
    EXPECT_EQ(capture.id(), name) << "generated once";
    const auto exists = [name] { return GLEW_VERSION_4_0 && glIsTransformFeedback(name); };
    EXPECT_EQ(exists(), GetParam());
    EXPECT_TRUE(GetParam() || name == 1u);

    if (GetParam() && GLEW_VERSION_4_5) {
        array_buffer_t output;
        ASSERT_TRUE(output.allocate(1, make_layout({attribute::position})));
        const auto attached = [name] {
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
