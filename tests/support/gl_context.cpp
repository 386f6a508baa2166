#include "support/gl_context.h"

#include <GL/glew.h>

#include <sstream>

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
    std::istringstream lines(take_err());
    std::string all;
    for (std::string line; std::getline(lines, line);)
        if (const auto end = line.find(": Error "); end != line.npos) all += line.substr(0, end) + "\n";
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
