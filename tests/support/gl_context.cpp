#include "support/gl_context.h"

#include <GL/glew.h>

namespace test_support {

void gl_test::SetUp() {
    ASSERT_TRUE(make_context_current()) << take_err();
    while (glGetError() != GL_NO_ERROR) {
    }
    take_err();
}

void gl_test::TearDown() {
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR)) << "left behind by the test";
    EXPECT_EQ(take_err(), "");
}

} // namespace test_support
