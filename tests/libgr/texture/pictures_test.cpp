// Spheres that wear pictures from files and mirror an environment, against reference pictures.

#include "../../render/surface/test_surface.h"
#include "libgr/image/autoformat.h"
#include "libgr/texture/environment.h"
#include "libgr/texture/surface_texture.h"
#include "libgr/texture/texture_table.h"
#include "render/math/matrix.h"
#include "render/math/operations.h"
#include "render/math/projection.h"
#include "render/surface/glpolygon.h"
#include "support/picture.h"
#include "support/temporary_directory.h"
#include "textures.h"

#include <cmath>
#include <cstring>

namespace {

using namespace libgr;
using namespace render;
using namespace test_support;

// A mean of half a unit lets another release of the software renderer round and filter differently; a largest
// difference of 24 lets it place an edge pixel on the other side of a slope, but no shape move.
constexpr double mean = 0.5;
constexpr int largest = 24;
constexpr int size = 128;

class DressedSphere : public gl_test {
protected:
    void SetUp() override {
        gl_test::SetUp();
        ASSERT_TRUE(renderer_.init(""));
    }
    // Smooth hills all over the picture, repeating at its edges.
    void save_hills(const char* name) {
        image2d image = patterned(64, 64, grey8);
        for (std::uint32_t y = 0; y < 64; ++y) {
            for (std::uint32_t x = 0; x < 64; ++x) {
                const float u = float(x) / 64 * 6.2831853f, v = float(y) / 64 * 6.2831853f;
                image.row(y)[x] = static_cast<unsigned char>(127.5f + 60 * std::sin(8 * u) * std::sin(6 * v));
            }
        }
        ASSERT_TRUE(autosaveformat(image, files_.file(name)));
    }
    void save_grain(const char* name) {
        image2d image = patterned(64, 64, rgb8);
        for (std::uint32_t y = 0; y < 64; ++y) {
            for (std::uint32_t x = 0; x < 64; ++x) {
                const float ring =
                    0.75f + 0.25f * std::sin(float(y) * 0.8f + 2 * std::sin(float(x) * 0.1963495f));
                const float rgb[] = {150 * ring, 95 * ring, 55 * ring};
                for (int c = 0; c < 3; ++c)
                    image.row(y)[x * 3 + c] = static_cast<unsigned char>(rgb[c]);
            }
        }
        ASSERT_TRUE(autosaveformat(image, files_.file(name)));
    }
    // Upright faces: a blue sky over brown ground, and on each side a mark of its own.
    void save_sky(const char* stem) {
        int number = 0;
        for (const std::string& name : face_names(files_.file(stem))) {
            image2d image = patterned(32, 32, rgb8);
            for (std::uint32_t y = 0; y < 32; ++y) {
                for (std::uint32_t x = 0; x < 32; ++x) {
                    const bool up = number == 2 || (number != 3 && y >= 16);
                    const bool mark = number != 2 && number != 3 && y >= 16 && y < 26 && x > 12 && x < 18;
                    const unsigned char sky[] = {120, 170, 240}, ground[] = {100, 80, 50},
                                        marks[6][3] = {{250, 60, 60},  {60, 250, 60}, {}, {},
                                                       {250, 250, 60}, {250, 60, 250}};
                    std::memcpy(image.row(y) + x * 3, mark ? marks[number] : up ? sky : ground, 3);
                }
            }
            ASSERT_TRUE(autosaveformat(image, name));
            ++number;
        }
    }
    picture draw(texture_t& look, environment_t& around, const col3a& color) {
        test_surface sphere(sphere_vertices(64, 32, color), grid_strips(65, 33));
        render_target target(size, size);
        target.clear(0.05f, 0.06f, 0.08f, 1);
        glEnable(GL_DEPTH_TEST);
        const mtx3w modelview = mtx3w::translation(0, 0, -3) * to_matrix(rot3{25, {1, 0.4f, 0}});
        const mtx3w projection = perspective_matrix(to_projection({1.0, 1, 0.1, 100}));
        renderer_.drawsolid(&around, false, look, sphere, mtx3w::identity(), modelview, inverse(modelview),
                            projection, {-2, 3, 1}, 30);
        glDisable(GL_DEPTH_TEST);
        return target.read();
    }

    temporary_directory files_;

private:
    glpolygon_t renderer_;
};

TEST_F(DressedSphere, InTheDefaultEnvironment) {
    save_hills("hills.png");
    save_grain("grain.png");
    const std::string model = files_.file("model.pmt");
    environment_t around;
    around.reflectalpha = 0.45f;
    ASSERT_TRUE(around.initex(model));
    texture_t plain;
    plain.open(model);
    EXPECT_TRUE(
        looks_like(draw(plain, around, {0.25f, 0.27f, 0.3f, 1}), "texture/default_plain", mean, largest));
    texture_t wood;
    wood.texture = "grain.png";
    wood.bumpmap = "hills.png";
    wood.open(model);
    EXPECT_TRUE(looks_like(draw(wood, around, {1, 1, 1, 1}), "texture/default_wood", mean, largest));
}

TEST_F(DressedSphere, InASixFaceEnvironment) {
    save_hills("hills.png");
    save_sky("sky.png");
    const std::string model = files_.file("model.pmt");
    environment_t around;
    around.cubetex = "sky.png";
    around.reflectalpha = 0.8f;
    ASSERT_TRUE(around.initex(model));
    texture_t chrome;
    chrome.open(model);
    const picture mirrored = draw(chrome, around, {0.1f, 0.1f, 0.1f, 1});
    EXPECT_TRUE(looks_like(mirrored, "texture/sky_chrome", mean, largest));
    // The sky is above, the ground below, and what is behind the eye is in the middle.
    EXPECT_GT(mirrored.at(size / 2, size * 3 / 4)[2], 150);
    EXPECT_LT(mirrored.at(size / 2, size / 4)[2], 100);
    texture_t bumped;
    bumped.bumpmap = "hills.png";
    bumped.open(model);
    EXPECT_TRUE(looks_like(draw(bumped, around, {0.1f, 0.1f, 0.1f, 1}), "texture/sky_bumped", mean, largest));
    around.reflectalpha = 0;
    around.refractalpha = 0.9f;
    around.refractfactor = 0.75f;
    EXPECT_TRUE(looks_like(draw(chrome, around, {0, 0, 0, 1}), "texture/sky_glass", mean, largest));
}

} // namespace
