// Step checks: what they write, that every step has its label, and that nothing happens without a context.

#include "render/gl/step_check.h"

#include "render/gl/array_buffer.h"
#include "render/gl/element_array.h"
#include "render/gl/framebuffer.h"
#include "render/gl/program.h"
#include "render/gl/query.h"
#include "render/gl/shader.h"
#include "render/gl/transform_feedback.h"
#include "support/gl_context.h"
#include "support/gl_faults.h"

#include <functional>
#include <sstream>

namespace {

using namespace render;

class StepCheck : public test_support::gl_test {};

TEST_F(StepCheck, ReportsAndClearsTheError) {
    EXPECT_FALSE(step_check("quiet"));
    glEnable(0xFFFF);
    EXPECT_TRUE(step_check("polygon_t::allocate", "(3)"));
    EXPECT_FALSE(step_check("again"));
    glEnable(0xFFFF);
    EXPECT_TRUE(step_check());
    const std::string text = reinterpret_cast<const char*>(gluErrorString(GL_INVALID_ENUM));
    EXPECT_EQ(take_err(), "polygon_t::allocate(3): Error 1280: " + text + "\nError 1280: " + text + "\n");
}

// Every GL call is made to fail, so that the label after it shows.
TEST_F(StepCheck, EveryStepHasItsLabel) {
    element_array_t elements;
    vertex_array_t vertex_array;
    vertex_array.create();
    transform_feedback_t capture;
    ASSERT_TRUE(capture.allocate());
    array_buffer_t output;
    ASSERT_TRUE(output.allocate(1, make_layout({attribute::position})));
    query_t query; // never begun: there is no result to ask for
    query.create();
    const struct {
        const char* name;
        const char* steps;
        std::function<void()> call;
    } cases[] = {
        {"element_array_t::allocate", "(1) (2) (3) (end)", [&] { elements.allocate(3); }},
        {"element_array_t::draw", "(0) (1) (2) (3) (4) (end)",
         [&] { elements.draw(vertex_array, primitive(0xFFFF)); }},
        {"transform_feedback_t::begin", "(0)", [&] { capture.begin(primitive::points, 0); }},
        // No program is in use, so that the GL refuses to begin and to end.
        {"transform_feedback_t::begin", capture.uses_object() ? "(0) (1) (2) (3)" : "(0) (2) (3)",
         [&] { capture.begin(primitive::points, output.id()); }},
        {"transform_feedback_t::end", "(0) (1) (4)", [&] { capture.end(); }},
        {"query_t::GetQuery", "(1) (end)", [&] { query.GetQuery(); }},
    };
    for (const auto& one : cases) {
        {
            const test_support::everything_fails failing;
            glEnable(0xFFFF);
            one.call();
        }
        clear_errors();
        std::string expected, step;
        for (std::istringstream steps(one.steps); std::getline(steps, step, ' ');)
            expected += one.name + step + "\n";
        EXPECT_EQ(step_labels(), expected);
    }
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
        EXPECT_FALSE(step_check("silent"));

        array_buffer_t array;
        element_array_t elements;
        EXPECT_FALSE(array.allocate(3, vertices.layout()) || elements.allocate(3));
        EXPECT_EQ(elements.count(), 0u)
            << "a later allocation with a context must not be taken for a repetition";
        program_t program;
        EXPECT_FALSE(shader_t().compile_text(shader_stage::vertex, "#version 330\nvoid main() {}"));
        EXPECT_FALSE(program.create() || transform_feedback_t().allocate() ||
                     framebuffer_t().allocate(1, 1, 0));
        EXPECT_EQ(program.location("anything"), -1);
        EXPECT_EQ(framebuffer_t::longest_side(), 0);
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
