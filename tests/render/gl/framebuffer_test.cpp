#include "render/gl/framebuffer.h"

#include "support/gl_context.h"

#include <GL/glew.h>

#include <array>

namespace {

using namespace render;

class Framebuffer : public test_support::gl_test,
                    public testing::WithParamInterface<int> { // samples wanted
protected:
    static std::array<int, 3> window_pixel(int x, int y) {
        unsigned char rgba[4] = {};
        glReadBuffer(GL_BACK);
        glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, rgba);
        return {rgba[0], rgba[1], rgba[2]};
    }
    static void clear(float r, float g, float b, float depth) {
        glClearColor(r, g, b, 1);
        glClearDepth(depth);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    }
};

TEST_P(Framebuffer, KeepsThePictureOutsideOfWhatIsRedrawn) {
    framebuffer_t kept;
    EXPECT_EQ(kept.depth_at(0, 0), 1.0f);
    ASSERT_TRUE(kept.allocate(16, 16, GetParam()));
    EXPECT_LE(kept.samples(), GetParam());
    kept.bind();
    clear(1, 0, 0, 0.5f);
    kept.resolve({0, 0, 16, 16});
    kept.bind();
    glEnable(GL_SCISSOR_TEST);
    glScissor(4, 4, 4, 4);
    clear(0, 1, 0, 0.25f);
    kept.resolve({4, 4, 4, 4});
    kept.present();
    EXPECT_TRUE(glIsEnabled(GL_SCISSOR_TEST));
    EXPECT_EQ(window_pixel(5, 5), (std::array{0, 255, 0}));
    EXPECT_EQ(window_pixel(12, 5), (std::array{255, 0, 0}));
    EXPECT_EQ(window_pixel(3, 4), (std::array{255, 0, 0}));
    EXPECT_NEAR(kept.depth_at(5, 5), 0.25f, 1e-6f);
    EXPECT_NEAR(kept.depth_at(12, 5), 0.5f, 1e-6f);
    EXPECT_EQ(kept.depth_at(16, 5), 1.0f);

    // What is not resolved is not shown; a rectangle beyond the picture is cut.
    kept.bind();
    glDisable(GL_SCISSOR_TEST);
    clear(0, 0, 1, 1);
    kept.resolve({-8, -8, 9, 9});
    kept.present();
    EXPECT_EQ(window_pixel(0, 0), (std::array{0, 0, 255}));
    if (kept.samples() > 0) {
        EXPECT_EQ(window_pixel(5, 5), (std::array{0, 255, 0}));
    }
    glClearDepth(1);
    GLint bound = -1;
    glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &bound);
    EXPECT_EQ(bound, 0);
}

INSTANTIATE_TEST_SUITE_P(Samples, Framebuffer, testing::Values(0, 1, 4, 64));

TEST_F(Framebuffer, SmoothsEdges) {
    framebuffer_t kept;
    ASSERT_TRUE(kept.allocate(16, 16, 4));
    if (kept.samples() == 0) GTEST_SKIP() << "the context has no samples";
    kept.bind();
    glViewport(0, 0, 16, 16);
    clear(0, 0, 0, 1);
    glColor3f(1, 1, 1);
    glRectf(-1, -1, 0.0625f, 1); // ends in the middle of the pixels at x = 8
    kept.resolve({0, 0, 16, 16});
    kept.present();
    EXPECT_EQ(window_pixel(7, 8)[0], 255);
    EXPECT_NEAR(window_pixel(8, 8)[0], 128, 64);
    EXPECT_EQ(window_pixel(9, 8)[0], 0);
}

TEST_F(Framebuffer, IsMadeAfterSomebodyElsesError) {
    glEnable(0xFFFF);
    framebuffer_t kept;
    EXPECT_TRUE(kept.allocate(16, 16, 4));
    EXPECT_EQ(step_labels(), "framebuffer_t::allocate(1)\n");
}

TEST_F(Framebuffer, SizesThatCannotBe) {
    framebuffer_t kept;
    EXPECT_FALSE(kept.allocate(0, 16, 4));
    EXPECT_FALSE(kept.allocate(16, -1, 4));
    EXPECT_EQ(take_err(), "");
    EXPECT_FALSE(kept.allocate(1 << 30, 16, 4));
    EXPECT_EQ(step_labels(), "framebuffer_t::allocate(2)\n");
    EXPECT_FALSE(kept.allocated());
    kept.resolve({0, 0, 1, 1});
    kept.present();
}

} // namespace
