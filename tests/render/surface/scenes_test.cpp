// What the renderer draws, against the same formulas computed here: pictures, gloss, surroundings, blending.

#include "formulas.h"
#include "render/surface/glpolygon.h"
#include "rig.h"
#include "support/gl_context.h"

namespace {

using namespace render;
using namespace test_support;

struct scene {
    const char* name;
    bool selection = false, mercator = false, surrounded = false;
    mirror around = {};
    float shininess = 6;
};

class Scenes : public gl_test, public testing::WithParamInterface<scene> {};

TEST_P(Scenes, AreWhatTheFormulasGive) {
    const scene& s = GetParam();
    glpolygon_t renderer;
    ASSERT_TRUE(renderer.init(""));
    dress pictures(1);
    pictures.mercator = s.mercator;
    pictures.offset = {0.3f, 0.55f};
    test_appearance look;
    look.textures = {&pictures.color.texture(), &pictures.bump.texture(), &pictures.gloss.texture()};
    look.mercator = s.mercator;
    look.offset = {pictures.offset.s, pictures.offset.t};
    test_surroundings sky;
    sky.cube = &direction_cube();
    sky.reflect = s.around.reflect, sky.refract = s.around.refract, sky.factor = s.around.factor;
    surroundings* const around = s.surrounded ? &sky : nullptr;
    camera view;
    view.shininess = s.shininess;
    const vec3w before = {0.25f, 0.5f, 0.125f, 0.75f};
    random_vertices random;
    int compared = 0;
    for (int round = 0; round < 24; ++round) {
        const test_vertex v = random.next();
        // Another light and place each time: what has been sent for the last one must not stay.
        view.light.z = 1 + float(round % 4);
        view.modelview[12] = 0.1f * float(round % 3);
        view.inverse = inverse(view.modelview);
        test_surface point({v}, {0});
        point.shape = primitive::points;
        const auto draw = [&](bool selection) {
            const auto how = selection ? &glpolygon_t::drawselect : &glpolygon_t::drawsolid;
            (renderer.*how)(around, s.around.skybox, look, point, view.globalview, view.modelview,
                            view.inverse, view.projection, view.light, view.shininess);
        };
        if (s.selection) {
            // A selection keeps the flag of the surface that was drawn before it.
            look.mercator = s.mercator;
            pixel_drawn([&] { draw(false); });
            look.mercator = !s.mercator;
        }
        const vec3w drawn = pixel_drawn([&] { draw(s.selection); }, before);

        bool sure = true;
        const mirror seen = s.surrounded ? s.around : mirror{};
        const vec3w f = surface_fragment(surface_vertex(v, view, s.around.skybox, s.selection ? 0.25f : 1.0f),
                                         pictures, seen, view, sure);
        const vec3w expected = f * (s.selection ? 1.0f : f.w) + before * (1 - f.w);
        if (!sure) continue;
        ++compared;
        const float tolerance = s.surrounded ? 0.02f : 1e-4f;
        for (const auto channel : {&vec3w::x, &vec3w::y, &vec3w::z, &vec3w::w})
            EXPECT_NEAR(drawn.*channel, expected.*channel, tolerance * (1 + std::abs(expected.*channel)));
    }
    EXPECT_GT(compared, 10);
}

INSTANTIATE_TEST_SUITE_P(
    All, Scenes,
    testing::Values(
        scene{.name = "lit"}, scene{.name = "mercator", .mercator = true},
        scene{.name = "unseen_surroundings", .surrounded = true},
        scene{.name = "reflecting", .surrounded = true, .around = {0.8f, 0}},
        scene{.name = "refracting", .surrounded = true, .around = {0, 0.6f, 0.7f}},
        scene{.name = "both", .mercator = true, .surrounded = true, .around = {0.3f, 0.5f, 0.9f}},
        scene{.name = "sky_box", .surrounded = true, .around = {0.5f, 0.25f, 0.7f, true}},
        scene{.name = "selected", .selection = true, .shininess = 2},
        scene{.name = "selected_mercator", .selection = true, .mercator = true},
        scene{.name = "selected_reflecting", .selection = true, .surrounded = true, .around = {0.5f, 0}}),
    [](const auto& one) { return one.param.name; });

} // namespace
