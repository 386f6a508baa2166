#include "support/gl_context.h"

#include <GL/glew.h>

namespace test_support {

void gl_test::SetUp() {
    ASSERT_TRUE(make_context_current()) << take_err();
    clear_errors();
    take_err();
}

void gl_test::TearDown() {
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR)) << "left behind by the test";
    EXPECT_EQ(take_err(), "");
}

std::string gl_test::step_labels() {
    std::string all, text = take_err();
    for (std::size_t at = 0; at < text.size(); at = text.find('\n', at) + 1)
        all += text.substr(at, text.find(": Error", at) - at) + "\n";
    return all;
}

int gl_test::state(unsigned name) {
    GLint value = -1;
    glGetIntegerv(name, &value);
    return value;
}

void gl_test::clear_errors() {
    while (glGetError() != GL_NO_ERROR) {
    }
}

} // namespace test_support
