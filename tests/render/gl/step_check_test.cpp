// Step checks: what they write, and that nothing happens without a context.

#include "render/gl/step_check.h"

#include "render/gl/array_buffer.h"
#include "render/gl/element_array.h"
#include "render/gl/framebuffer.h"
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
    EXPECT_TRUE(step_check("polygon_t::allocate", "(3)"));
    EXPECT_FALSE(step_check("again"));
    const std::string text = reinterpret_cast<const char*>(gluErrorString(GL_INVALID_ENUM));
    EXPECT_EQ(take_err(), "polygon_t::allocate(3): Error 1280: " + text + "\n");
}

TEST_F(StepCheck, APromiseThatTheContextStaysMayBeNested) {
    const auto answers = [](bool inside, bool outside) {
        EXPECT_EQ(has_context(), inside);
        const test_support::without_context none;
        EXPECT_EQ(has_context(), outside);
    };
    {
        const context_stays outer;
        {
            const context_stays inner;
            answers(true, true);
        }
        answers(true, true);
    }
    answers(true, false);
    const test_support::without_context none;
    const context_stays nothing; // there is none that could stay
    EXPECT_FALSE(has_context());
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
        array_buffer_t array;
        element_array_t elements;
        EXPECT_FALSE(array.allocate(3, vertices.layout()) || elements.allocate(3));
        EXPECT_EQ(elements.count(), 0u)
            << "a later allocation with a context must not be taken for a repetition";
        EXPECT_FALSE(shader_t().compile_text(shader_stage::vertex, "#version 330\nvoid main() {}"));
        EXPECT_FALSE(program_t().create() || transform_feedback_t().allocate() ||
                     framebuffer_t().allocate(1, 1, 0));
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
