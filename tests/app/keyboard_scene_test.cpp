#include "app/keyboard_scene.h"

#include "render/math/matrix.h"
#include "render/math/operations.h"

#include <gtest/gtest.h>

#include <set>

using namespace quenvarel;
using render::mtx3w;
using render::vec3w;

namespace {

const mtx3w view = mtx3w::translation(1, 2, -40) * render::to_matrix(render::rot3{30, {1, 0, 0}});
const mtx3w normal = render::inverse(view);

// Keys at rest have the matrix of the view; the normal matrices are the inverses.
void expect_pressed(const keyboard_scene& scene, const std::set<int>& pressed, const mtx3w& at_rest) {
    for (const int key : {0, 60, 61, 127}) {
        EXPECT_EQ(scene.pressed(key), pressed.contains(key)) << key;
        EXPECT_EQ(scene.model_matrix(key) != at_rest, pressed.contains(key)) << key;
        const mtx3w one = scene.model_matrix(key) * scene.normal_matrix(key);
        for (std::size_t i = 0; i < 16; ++i)
            EXPECT_NEAR(one[i], mtx3w::identity()[i], 1e-4) << key << ' ' << i;
    }
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
    expect_pressed(scene, {60}, view);
    scene.release(60, view, normal);
    expect_pressed(scene, {}, view); // presses are not counted
}

TEST(keyboard_scene, a_new_view_reaches_every_key) {
    keyboard_scene scene;
    scene.press(128, view, normal);
    scene.press(127, view, normal);
    expect_pressed(scene, {0, 127}, mtx3w::identity()); // the view has not reached the others
    const mtx3w moved = mtx3w::translation(0, 0, -1) * view, moved_normal = render::inverse(moved);
    scene.update_all(moved, moved_normal);
    expect_pressed(scene, {0, 127}, moved);
    scene.release_all(moved, moved_normal);
    expect_pressed(scene, {}, moved);
}

} // namespace
