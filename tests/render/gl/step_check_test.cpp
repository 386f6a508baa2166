#include "render/gl/step_check.h"

#include "render/gl/array_buffer.h"
#include "render/gl/element_array.h"
#include "render/gl/program.h"
#include "render/gl/query.h"
#include "render/gl/shader.h"
#include "render/gl/transform_feedback.h"
#include "support/gl_context.h"

#include <GL/glew.h>

namespace {

using namespace render;

class StepCheck : public test_support::gl_test {};

TEST_F(StepCheck, ReportsAndClearsTheError) {
    EXPECT_FALSE(step_check("quiet"));
    glEnable(0xFFFF);
    EXPECT_TRUE(step_check("polygon_t::allocate(3)"));
    const std::string text = reinterpret_cast<const char*>(gluErrorString(GL_INVALID_ENUM));
    EXPECT_EQ(take_err(), "polygon_t::allocate(3): Error 1280: " + text + "\n");
    EXPECT_FALSE(step_check("again"));
    glEnable(0xFFFF);
    EXPECT_TRUE(step_check());
    EXPECT_EQ(take_err(), "Error 1280: " + text + "\n");
}

// Everything is safe to call on a machine without a display, and makes nothing.
TEST_F(StepCheck, NothingHappensWithoutAContext) {
    array_buffer_t vertices;
    ASSERT_TRUE(vertices.allocate(3, make_layout({attribute::position})));
    {
        const test_support::without_context none;
        EXPECT_FALSE(has_context());
        EXPECT_FALSE(load_gl());
        EXPECT_EQ(take_err(), "load_gl(): no OpenGL context is current.\n");
        EXPECT_FALSE(step_check("silent"));

        array_buffer_t array;
        EXPECT_FALSE(array.allocate(3, make_layout({attribute::position})));
        element_array_t elements;
        EXPECT_FALSE(elements.allocate(3));
        EXPECT_EQ(elements.count(), 0u)
            << "a later allocation with a context must not be taken for a repetition";
        shader_t shader;
        EXPECT_FALSE(shader.compile_text(shader_stage::vertex, "#version 330\nvoid main() {}"));
        program_t program;
        EXPECT_FALSE(program.create());
        EXPECT_EQ(program.location("anything"), -1);
        transform_feedback_t capture;
        EXPECT_FALSE(capture.allocate());
        query_t query;
        query.begin(query_target::primitives_generated);
        query.end();
        EXPECT_EQ(query.GetQuery(), 0u);
        vertices.upload_all(nullptr);
        vertices.release(); // the name is left to the context that is not there
    }
    EXPECT_TRUE(has_context());
}

} // namespace
