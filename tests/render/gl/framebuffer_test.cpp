#include "render/gl/framebuffer.h"

#include "support/gl_context.h"

#include <GL/glew.h>

#include <array>

namespace {

using namespace render;

class Framebuffer : public test_support::gl_test,
                    public testing::WithParamInterface<int> { // samples wanted
protected:
    void TearDown() override {
        glDisable(GL_SCISSOR_TEST);
        glClearDepth(1);
        gl_test::TearDown();
    }
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
    static constexpr std::array red = {255, 0, 0}, green = {0, 255, 0}, blue = {0, 0, 255};
};

TEST_P(Framebuffer, KeepsThePictureOutsideOfWhatIsRedrawn) {
    framebuffer_t kept;
    ASSERT_TRUE(kept.allocate(16, 16, GetParam()));
    EXPECT_LE(kept.samples(), GetParam());
    EXPECT_NE(kept.samples(), 1) << "the picture itself would do";
    kept.bind();
    clear(1, 0, 0, 0.5f);
    // The scissor rectangle of the drawing cuts none of the copies, and stays.
    glEnable(GL_SCISSOR_TEST);
    glScissor(4, 4, 4, 4);
    kept.resolve({0, 0, 16, 16});
    clear(0, 1, 0, 0.25f);
    kept.resolve({4, 4, 8, 8});
    kept.present();
    EXPECT_TRUE(glIsEnabled(GL_SCISSOR_TEST));
    EXPECT_EQ(window_pixel(5, 5), green);
    EXPECT_EQ(window_pixel(12, 5), red);
    EXPECT_EQ(window_pixel(3, 4), red);
    EXPECT_NEAR(kept.depth_at(5, 5), 0.25f, 1e-6f);
    EXPECT_NEAR(kept.depth_at(12, 5), 0.5f, 1e-6f);
    EXPECT_EQ(kept.depth_at(16, 5), 1.0f);

    // What is not resolved is not shown; a rectangle beyond the picture is cut.
    kept.bind();
    glDisable(GL_SCISSOR_TEST);
    clear(0, 0, 1, 1);
    kept.resolve({-8, -8, 1, 1});
    kept.resolve({15, 15, 24, 24});
    kept.present();
    EXPECT_EQ(window_pixel(0, 0), blue);
    EXPECT_EQ(window_pixel(15, 15), blue);
    EXPECT_EQ(window_pixel(5, 5), kept.samples() > 0 ? green : blue);
}

TEST_P(Framebuffer, SmoothsEdges) {
    framebuffer_t kept;
    ASSERT_TRUE(kept.allocate(6, 3, GetParam()));
    kept.bind();
    clear(0, 0, 1, 1);
    glViewport(0, 0, 6, 3);
    glColor3f(0, 1, 0);
    glRectf(5.5f / 3 - 1, -1, 1, 1); // begins in the middle of the last pixels
    kept.resolve({0, 0, 6, 3});
    unsigned char rows[3][20] = {}; // 18 bytes and padding
    kept.read(rows);
    const bool smooth = kept.samples() > 0;
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 5; ++x)
            EXPECT_EQ((std::array<int, 3>{rows[y][x * 3], rows[y][x * 3 + 1], rows[y][x * 3 + 2]}), blue);
        EXPECT_TRUE(!smooth || (rows[y][16] > 60 && rows[y][16] < 200)) << int(rows[y][16]);
    }
}

INSTANTIATE_TEST_SUITE_P(Samples, Framebuffer, testing::Values(0, 1, 4, 64));

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
    EXPECT_FALSE(kept.allocate(framebuffer_t::longest_side() + 1, 1, 4));
    EXPECT_NE(take_err(), "");
    EXPECT_FALSE(kept.allocated());
    EXPECT_TRUE(kept.allocate(framebuffer_t::longest_side(), 1, 4));
}

} // namespace
