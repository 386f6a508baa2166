#include "app/keyboard_scene.h"

#include "render/math/matrix.h"
#include "render/math/operations.h"

#include <gtest/gtest.h>

using namespace quenvarel;
using render::mtx3w;
using render::vec3w;

namespace {

const mtx3w view = mtx3w::translation(1, 2, -40) * render::to_matrix(render::rot3{30, {1, 0, 0}});
const mtx3w normal = render::inverse(view);

void expect_near(const mtx3w& a, const mtx3w& b) {
    for (std::size_t i = 0; i < 16; ++i)
        EXPECT_NEAR(a[i], b[i], 1e-4) << i;
}

TEST(keyboard_scene, a_pressed_key_turns_about_its_hinge) {
    keyboard_scene scene;
    scene.update_all(view, normal);
    scene.press(60, view, normal);
    scene.press(60, view, normal);
    // 127/32 degrees about the x axis: the front edge, 6.4 in front of the hinge, goes down by 6.4 times the
    // sine.
    const vec3w front = normal * (scene.model_matrix(60) * vec3w{0.5f, 0, 6.4f, 1});
    EXPECT_NEAR(front.x, 0.5, 1e-4);
    EXPECT_NEAR(front.y, -0.44296, 1e-4);
    EXPECT_NEAR(front.z, 6.38465, 1e-4);
    for (const int key : {0, 60, 61, 127}) {
        EXPECT_EQ(scene.pressed(key), key == 60);
        EXPECT_EQ(scene.model_matrix(key) == view, key != 60);
        expect_near(scene.model_matrix(key) * scene.normal_matrix(key), mtx3w::identity());
    }
    scene.release(60, view, normal);
    EXPECT_FALSE(scene.pressed(60)) << "presses are not counted";
    EXPECT_EQ(scene.model_matrix(60), view);
}

TEST(keyboard_scene, a_new_view_reaches_every_key) {
    keyboard_scene scene;
    scene.press(128, view, normal);
    scene.press(127, view, normal);
    EXPECT_EQ(scene.model_matrix(61), mtx3w::identity()) << "the view has not reached this one";
    const mtx3w moved = mtx3w::translation(0, 0, -1) * view, moved_normal = render::inverse(moved);
    scene.update_all(moved, moved_normal);
    for (const int key : {0, 61, 127}) {
        EXPECT_EQ(scene.model_matrix(key) == moved, key == 61);
        expect_near(scene.model_matrix(key) * scene.normal_matrix(key), mtx3w::identity());
    }
    scene.release_all(view, normal);
    for (const int key : {0, 61, 127}) {
        EXPECT_FALSE(scene.pressed(key));
        EXPECT_EQ(scene.model_matrix(key), view);
    }
}

} // namespace
