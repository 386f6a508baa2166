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
    EXPECT_TRUE(scene.pressed(60));
    // 127/32 degrees about the x axis: the front edge, 6.4 in front of the hinge, goes down by 6.4 times the
    // sine.
    const vec3w front = normal * (scene.model_matrix(60) * vec3w{0.5f, 0, 6.4f, 1});
    EXPECT_NEAR(front.x, 0.5, 1e-4);
    EXPECT_NEAR(front.y, -0.44296, 1e-4);
    EXPECT_NEAR(front.z, 6.38465, 1e-4);
    expect_near(scene.model_matrix(60) * scene.normal_matrix(60), mtx3w::identity());
    for (const int other : {0, 59, 61, 127}) {
        EXPECT_FALSE(scene.pressed(other));
        EXPECT_EQ(scene.model_matrix(other), view);
        EXPECT_EQ(scene.normal_matrix(other), normal);
    }
}

TEST(keyboard_scene, presses_are_not_counted_and_views_reach_every_key) {
    keyboard_scene scene;
    scene.press(60, view, normal);
    scene.press(60, view, normal);
    scene.release(60, view, normal);
    EXPECT_FALSE(scene.pressed(60));
    EXPECT_EQ(scene.model_matrix(60), view);
    EXPECT_EQ(scene.model_matrix(61), mtx3w::identity()) << "the view has not reached this one";

    scene.press(128, view, normal);
    scene.press(127, view, normal);
    EXPECT_TRUE(scene.pressed(0));
    const mtx3w moved = mtx3w::translation(0, 0, -1) * view, moved_normal = render::inverse(moved);
    scene.update_all(moved, moved_normal);
    EXPECT_EQ(scene.model_matrix(61), moved);
    expect_near(scene.model_matrix(0) * scene.normal_matrix(0), mtx3w::identity());
    EXPECT_NE(scene.model_matrix(127), moved);

    scene.release_all(view, normal);
    for (const int key : {0, 61, 127}) {
        EXPECT_FALSE(scene.pressed(key));
        EXPECT_EQ(scene.model_matrix(key), view);
    }
}

} // namespace
