#include "app/camera.h"

#include "app/home_view.h"
#include "render/math/matrix.h"
#include "render/math/operations.h"
#include "render/math/projection.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace quenvarel;
using namespace render;

namespace {

constexpr camera_t home = {{0, 30, 32}, {0, 0, 3}};
constexpr float width = 800, height = 200;

const projection extents = to_projection({.aspect = width / height, .znear = 0.0625, .zfar = 1024});

pixel_space space_of(const camera_t& camera) {
    return {inverse_perspective_matrix(extents), inverse_view_matrix(camera), width / 2, height / 2};
}

// Pixel and depth of a point.
pos3 pixel_of(const pos3& p, const camera_t& camera) {
    const pos3 ndc =
        homogeneous_divide(perspective_matrix(extents) * (view_matrix(camera) * vec3w{p.x, p.y, p.z, 1}));
    return {(ndc.x + 1) * width / 2, (ndc.y + 1) * height / 2, (ndc.z + 1) / 2};
}

float distance(const pos3& a, const pos3& b) {
    return length(a - b);
}

float to_target(const camera_t& camera) {
    return distance(camera.eye, camera.target);
}

TEST(camera, looks_at_its_target_upright_and_knows_the_points_it_sees) {
    for (const camera_t& camera : {home, camera_t{{-9, -2, -14}, {3, 1, 0}}}) {
        const pos3 target = pixel_of(camera.target, camera);
        EXPECT_LT(distance(target, {width / 2, height / 2, target.z}), 1e-2f);
        const pos3 above = pixel_of(camera.target + dir3{0, 1, 0}, camera);
        EXPECT_NEAR(above.x, width / 2, 1e-2);
        EXPECT_GT(above.y, height / 2);
        for (const pos3& p : {pos3{0, 0, 0}, pos3{20, 1, 6}, pos3{-37, 0.5f, 3}}) {
            const pos3 pixel = pixel_of(p, camera);
            EXPECT_LT(distance(point_at(pixel.x, pixel.y, pixel.z, space_of(camera)), p), 0.1f);
        }
    }
}

TEST(camera, orbit_keeps_distances_and_the_horizon_level) {
    for (const auto& [yaw, pitch] : {std::pair{30.0f, 0.0f}, {-120.0f, -40.0f}, {720.0f, 1000.0f}}) {
        const camera_t turned = orbit(home, {20, 1, 6}, yaw, pitch);
        EXPECT_NEAR(to_target(turned), to_target(home), 1e-3);
        EXPECT_NEAR(inverse_view_matrix(turned)[1], 0, 1e-5) << "the right axis is horizontal";
    }
    const camera_t steepest = orbit(home, home.target, 0, 1000);
    EXPECT_GT(steepest.eye.y, home.eye.y);
    EXPECT_GT(steepest.eye.z, home.target.z + 1) << "it does not turn over";
}

TEST(camera, zoom_steps_are_even_undo_each_other_and_end_somewhere) {
    const pos3 about = {-30, 0, 6};
    const camera_t nearer = zoom(home, about, 1);
    EXPECT_NEAR(to_target(nearer) / to_target(home), 0.9, 1e-4);
    EXPECT_NEAR(distance(nearer.eye, about) / distance(home.eye, about), 0.9, 1e-4);
    EXPECT_LT(distance(zoom(zoom(nearer, about, 1), about, -2).eye, home.eye), 1e-3);
    for (const int direction : {1, -1}) {
        camera_t camera = home;
        for (int i = 0; i < 10000; ++i)
            camera = zoom(camera, about, direction);
        // The last step that would not lead nearer than 4 or farther than 400.
        EXPECT_NEAR(to_target(camera), direction > 0 ? 4.2f : 380, direction > 0 ? 0.2f : 20);
        EXPECT_EQ(zoom(home, about, direction * 1000000), home);
    }
}

TEST(home_view, shows_the_white_keys_over_the_whole_width_of_any_window) {
    float last_height = 1000;
    for (const double aspect : {1.0, 4.0 / 3, 1.6, 16.0 / 9, 2.0, 3.0, 4.0, 5.0, 8.0}) {
        SCOPED_TRACE(aspect);
        const camera_t camera = home_camera(aspect);
        const mtx3w to_clip = perspective_matrix(to_projection(lens(aspect))) * view_matrix(camera);
        const auto seen = [&](float x, float y, float z) {
            return homogeneous_divide(to_clip * vec3w{x, y, z, 1});
        };
        EXPECT_NEAR(std::max({seen(37.5f, 0, 3).x, seen(37.5f, 0, 9.4f).x, seen(37.5f, -0.8f, 9.4f).x}),
                    0.97f, 0.01f);
        EXPECT_FLOAT_EQ(seen(-37.5f, 0, 9.4f).x, -seen(37.5f, 0, 9.4f).x);
        const float bottom = seen(0, -0.8f, 9.4f).y, top = seen(0, 0.5f, 3).y;
        EXPECT_TRUE(bottom > -0.95f && top < 0.95f && (aspect < 4 || top - bottom >= 0.5f));
        // A pressed key goes down in the picture, in pixels where there are 800 in a row.
        EXPECT_GE((seen(0, 0, 9.4f).y - seen(0, -0.65f, 9.4f).y) / 2 * 800 / aspect, 2);
        EXPECT_LT(camera.eye.y, last_height);
        last_height = camera.eye.y;
    }
    for (const double aspect : {0.0001, 1e6}) // windows can be dragged to any shape
        EXPECT_LT(home_camera(aspect).eye.y, 1000);
}

TEST(camera_controller, drags_and_zooms_by_the_point_under_the_pointer_or_by_the_target) {
    camera_controller controller(home);
    const pos3 about = {-20, 0, 6}, pixel = pixel_of(about, home);
    const int x = int(pixel.x), y = int(pixel.y);
    const auto expect_in_place = [&] {
        const pos3 now = pixel_of(about, controller.camera());
        EXPECT_LT(distance(now, {pixel.x, pixel.y, now.z}), 1);
    };
    const auto drag = [&](int at_x, int at_y, float depth) {
        return controller.drag(at_x, at_y, depth, space_of(controller.camera()));
    };
    controller.zoom(2, x, y, pixel.z, space_of(home));
    EXPECT_LT(distance(controller.camera().eye, about), distance(home.eye, about) * 0.9f);
    expect_in_place();
    controller.reset();
    EXPECT_EQ(controller.camera(), home);
    controller.zoom(1, 0, 0, 1, space_of(home));
    EXPECT_EQ(controller.camera(), zoom(home, home.target, 1)) << "there is only background";

    controller.reset();
    controller.button(2, 0, x, y);
    EXPECT_FALSE(drag(x + 10, y, pixel.z)) << "neither the left nor the middle button";
    controller.button(0, 0, x, y);
    EXPECT_FALSE(drag(x, y, pixel.z)) << "not moved";
    // Several moves, each seen from where the last one has led.
    for (const int moved : {10, 35, 90})
        EXPECT_TRUE(drag(x + moved, y - moved / 2, pixel.z));
    expect_in_place();
    const pos3 eye = controller.camera().eye;
    EXPECT_TRUE(eye.x < -1 && eye.y > home.eye.y + 1) << "the picture follows the pointer";
    controller.button(0, 1, x, y);
    EXPECT_FALSE(drag(x, y, pixel.z));

    controller.reset();
    controller.button(1, 0, x, y);
    EXPECT_TRUE(drag(x + 100, y, 1));
    EXPECT_LT(distance(controller.camera().target, home.target), 1e-4) << "about the target";
    controller.reset();
    controller.move_eye({0, 5, -40});
    EXPECT_EQ(controller.camera(), (camera_t{{0, 35, -8}, home.target}));
}

} // namespace
