// Small scenes against reference pictures: what a person would look at.

#include "render/math/matrix.h"
#include "render/math/operations.h"
#include "render/math/projection.h"
#include "render/surface/glpolygon.h"
#include "support/gl_context.h"
#include "support/picture.h"
#include "test_surface.h"

#include <cmath>
#include <optional>

namespace {

using namespace render;
using namespace test_support;

// The references were drawn by the same software renderer. A mean of half a unit lets another release round
// and filter differently; a largest difference of 24 lets it place an edge pixel on the other side of a
// slope, but no shape move.
constexpr double mean = 0.5;
constexpr int largest = 24;
constexpr int size = 96;

class Pictures : public gl_test {
protected:
    void SetUp() override {
        gl_test::SetUp();
        ASSERT_TRUE(renderer_.init(""));
        glEnable(GL_DEPTH_TEST);
        target_.emplace(size, size);
        target_->clear(0.05f, 0.06f, 0.08f, 1);
    }
    void TearDown() override {
        glDisable(GL_DEPTH_TEST);
        target_.reset();
        gl_test::TearDown();
    }
    // A camera on the z axis; turned: how the object stands.
    void draw(appearance& surface, drawable& shape, const rot3& turned = {25, {1, 0.4f, 0}},
              bool selection = false) {
        const mtx3w modelview = mtx3w::translation(0, 0, -distance) * to_matrix(turned);
        const mtx3w projection = perspective_matrix(to_projection({1.1, 1, 0.1, 100}));
        const pos3 light = {-2, 3, 1};
        if (selection) {
            renderer_.drawselect(around, false, surface, shape, view, modelview, inverse(modelview),
                                 projection, light, shininess);
        } else {
            renderer_.drawsolid(around, skybox, surface, shape, view, modelview, inverse(modelview),
                                projection, light, shininess);
        }
    }
    picture read() const { return target_->read(); }

    surroundings* around = nullptr;
    bool skybox = false;
    float distance = 3, shininess = 20;
    mtx3w view = mtx3w::identity();

private:
    glpolygon_t renderer_;
    std::optional<render_target> target_;
};

// Colour squares, a dent in every one of them, and stripes of gloss.
constexpr int texels = 64;
std::vector<unsigned char> squares() {
    std::vector<unsigned char> all;
    for (int y = 0; y < texels; ++y) {
        for (int x = 0; x < texels; ++x) {
            const bool odd = (x / 8 + y / 8) % 2 != 0;
            all.insert(all.end(), {static_cast<unsigned char>(odd ? 230 : 60),
                                   static_cast<unsigned char>(odd ? 200 : 90),
                                   static_cast<unsigned char>(odd ? 150 : 160), 255});
        }
    }
    return all;
}
std::vector<signed char> dents() {
    std::vector<signed char> all;
    for (int y = 0; y < texels; ++y) {
        for (int x = 0; x < texels; ++x) {
            const float dx = float(x % 8) - 3.5f, dy = float(y % 8) - 3.5f, r = std::sqrt(dx * dx + dy * dy);
            const dir3 n = r < 3.5f ? normalise(dir3{-dx * 0.25f, -dy * 0.25f, 1}) : dir3{0, 0, 1};
            for (const float c : {n.x, n.y, n.z})
                all.push_back(static_cast<signed char>(std::lround(127 * c)));
        }
    }
    return all;
}
std::vector<unsigned char> stripes() {
    std::vector<unsigned char> all;
    for (int y = 0; y < texels; ++y) {
        const unsigned char gloss = y / 8 % 2 ? 255 : 20;
        for (int x = 0; x < texels; ++x)
            all.insert(all.end(), {gloss, gloss, gloss, 255});
    }
    return all;
}
// A sky with a horizon and a sun, one smooth picture on six faces.
std::vector<unsigned char> sky() {
    std::vector<unsigned char> all;
    for (int face = 0; face < 6; ++face) {
        for (int j = 0; j < 32; ++j) {
            for (int i = 0; i < 32; ++i) {
                const float s = (float(i) + 0.5f) / 16 - 1, t = (float(j) + 0.5f) / 16 - 1;
                const dir3 directions[] = {{1, -t, -s}, {-1, -t, s}, {s, 1, t},
                                           {s, -1, -t}, {s, -t, 1},  {-s, -t, -1}};
                const dir3 d = normalise(directions[face]);
                const bool sun = dot(d, normalise(dir3{0.5f, 0.5f, 0.7f})) > 0.95f;
                const float height = d.y * 0.5f + 0.5f;
                const float r = sun       ? 1
                                : d.y < 0 ? 0.35f
                                          : 0.5f * height,
                            g = sun       ? 0.95f
                                : d.y < 0 ? 0.3f
                                          : 0.7f * height,
                            b = sun       ? 0.7f
                                : d.y < 0 ? 0.2f
                                          : height;
                for (const float c : {r, g, b, 0.0f})
                    all.push_back(static_cast<unsigned char>(255 * c));
            }
        }
    }
    return all;
}

TEST_F(Pictures, LitTriangle) {
    const color_pixel matt(white);
    const bump_pixel flat;
    test_appearance plain;
    plain.textures = {&matt, &flat, &matt};
    const dir3 x = {1, 0, 0}, y = {0, 1, 0}, z = {0, 0, 1};
    test_surface triangle({{{-1, -0.8f, 0}, {1, 0.1f, 0.1f, 1}, {0, 0}, x, y, z},
                           {{1, -0.8f, 0}, {0.1f, 1, 0.1f, 1}, {1, 0}, x, y, z},
                           {{0, 1, 0}, {0.1f, 0.1f, 1, 1}, {0.5f, 1}, x, y, z}},
                          {0, 1, 2});
    draw(plain, triangle, {20, {-1, 0.4f, 0}});
    EXPECT_TRUE(looks_like(read(), "render/lit_triangle", mean, largest));
}

TEST_F(Pictures, Sphere) {
    const auto squares_data = squares(), stripes_data = stripes();
    const auto dents_data = dents();
    const color_pixel matt(white);
    const bump_pixel flat;
    const test_texture colors(GL_TEXTURE_2D, GL_RGBA8, texels, texels, GL_RGBA, GL_UNSIGNED_BYTE,
                              squares_data.data(), true);
    const test_texture bumps(GL_TEXTURE_2D, GL_RGB8_SNORM, texels, texels, GL_RGB, GL_BYTE, dents_data.data(),
                             true);
    const test_texture gloss(GL_TEXTURE_2D, GL_RGBA8, texels, texels, GL_RGBA, GL_UNSIGNED_BYTE,
                             stripes_data.data(), true);
    test_surface sphere(sphere_vertices(48, 24, {0.9f, 0.9f, 0.9f, 1}), grid_strips(49, 25));
    const struct {
        const char* name;
        std::array<const test_texture*, 3> textures;
        bool mercator;
        float shininess;
    } cases[] = {{"render/sphere_color", {&colors, &flat, &matt}, false, 20},
                 {"render/sphere_mercator", {&colors, &flat, &matt}, true, 20},
                 {"render/sphere_bump", {&matt, &bumps, &matt}, false, 20},
                 {"render/sphere_specular", {&colors, &flat, &gloss}, false, 2}};
    for (const auto& one : cases) {
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        test_appearance dressed;
        dressed.textures = one.textures;
        dressed.mercator = one.mercator;
        shininess = one.shininess;
        draw(dressed, sphere);
        EXPECT_TRUE(looks_like(read(), one.name, mean, largest));
    }
}

TEST_F(Pictures, AlphaAndSelection) {
    const color_pixel matt(white);
    const bump_pixel flat;
    test_appearance plain;
    plain.textures = {&matt, &flat, &matt};
    test_surface back(sphere_vertices(48, 24, {0.9f, 0.3f, 0.2f, 1}), grid_strips(49, 25));
    draw(plain, back, {0, {0, 0, 1}});
    test_surface front(square_vertices({0.2f, 0.5f, 0.9f, 0.4f}), square_strip);
    front.selection = {0, 1, 2};
    glDisable(GL_DEPTH_TEST);
    draw(plain, front, {40, {0, 1, 0.3f}});
    EXPECT_TRUE(looks_like(read(), "render/alpha", mean, largest));
    draw(plain, front, {40, {0, 1, 0.3f}}, true);
    EXPECT_TRUE(looks_like(read(), "render/selection", mean, largest));
}

TEST_F(Pictures, SkyBoxAndReflection) {
    const auto sky_data = sky();
    const auto dents_data = dents();
    const test_texture cube(GL_TEXTURE_CUBE_MAP, GL_RGBA8, 32, 32, GL_RGBA, GL_UNSIGNED_BYTE, sky_data.data(),
                            true);
    const color_pixel matt(white);
    const color_pixel dark({0, 0, 0, 255}), grey({40, 40, 40, 255});
    const bump_pixel flat;
    const test_texture bumps(GL_TEXTURE_2D, GL_RGB8_SNORM, texels, texels, GL_RGB, GL_BYTE, dents_data.data(),
                             true);
    test_surroundings sky_around;
    sky_around.cube = &cube;
    around = &sky_around;
    glEnable(GL_TEXTURE_CUBE_MAP_SEAMLESS);

    // A sphere around the eye does for a box, since only directions count.
    test_surface box(sphere_vertices(48, 24, {1, 1, 1, 1}), grid_strips(49, 25));
    test_appearance box_look;
    box_look.textures = {&dark, &flat, &dark};
    sky_around.reflect = 1;
    skybox = true;
    distance = 0;
    draw(box_look, box, {205, {0.1f, 1, 0}}); // towards the sun
    EXPECT_TRUE(looks_like(read(), "render/sky_box", mean, largest));

    skybox = false;
    distance = 3;
    view = to_matrix(rot3{20, {1, 0, 0}});
    test_surface ball(sphere_vertices(48, 24, {1, 1, 1, 1}), grid_strips(49, 25));
    test_appearance mirror;
    mirror.textures = {&grey, &flat, &matt};
    sky_around.reflect = 0.8f;
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    draw(mirror, ball);
    EXPECT_TRUE(looks_like(read(), "render/reflection", mean, largest));

    mirror.textures[1] = &bumps;
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    draw(mirror, ball);
    EXPECT_TRUE(looks_like(read(), "render/reflection_bump", mean, largest));

    mirror.textures = {&dark, &flat, &matt};
    view = mtx3w::identity();
    sky_around.reflect = 0, sky_around.refract = 0.9f, sky_around.factor = 0.7f;
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    draw(mirror, ball);
    EXPECT_TRUE(looks_like(read(), "render/refraction", mean, largest));
}

} // namespace
