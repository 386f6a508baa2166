#include "app/key_picking.h"

#include "render/math/matrix.h"
#include "render/math/operations.h"
#include "render/math/projection.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

using namespace quenvarel;
using render::mtx3w;
using render::pos3;

namespace {

constexpr int width = 800, height = 200;

mtx3w projection() {
    return render::perspective_matrix(render::to_projection(
        {.fov = 1.5707963267948966, .aspect = double(width) / height, .znear = 0.0625, .zfar = 1024}));
}

// The point at a distance in front of the eye that is drawn at a place of the picture, in pixels from the
// lower left.
pos3 seen_at(float x, float y, float distance) {
    const mtx3w p = projection();
    return {(x - width / 2.0f) / (width / 2.0f) * distance / p[0],
            (y - height / 2.0f) / (height / 2.0f) * distance / p[5], -distance};
}

// One strip.
pmt3d::polygon_t surface_of(const std::vector<pos3>& corners) {
    pmt3d::polygon_t surface;
    EXPECT_TRUE(surface.allocate(corners.size(), corners.size()));
    for (std::size_t i = 0; i < corners.size(); ++i) {
        surface.edit_vertices()[i].position = corners[i];
        surface.edit_elements()[i] = static_cast<pmt3d::element_t>(i);
    }
    surface.rebuildpolyids();
    return surface;
}

std::optional<float> pick(int x, int y, const pmt3d::polygon_t& surface,
                          const mtx3w& model = mtx3w::identity()) {
    render::box3 bounds{};
    surface.getbound(bounds.min, bounds.max);
    return nearest_between(planes_around_pixel(x, y, width, height, projection()), surface, bounds, model);
}

} // namespace

TEST(Picking, DepthIsThatOfTheNearestVisiblePoint) {
    // A plane tilted like a key's top that fills the whole picture: its nearest point in a pixel lies on the
    // ray through the pixel's lower edge.
    const float slope = 0.7f; // distance = 40 + slope * height
    const auto on_plane = [&](float x, float y) {
        const pos3 unit = seen_at(x, y, 1);
        const float distance = 40 / (1 - slope * unit.y);
        return pos3{unit.x * distance, unit.y * distance, -distance};
    };
    const pmt3d::polygon_t plane =
        surface_of({on_plane(-50, -50), on_plane(850, -50), on_plane(-50, 250), on_plane(850, 250)});
    for (const auto& [x, y] : {std::pair{0, 0}, {400, 100}, {799, 199}, {123, 45}}) {
        const auto depth = pick(x, y, plane);
        ASSERT_TRUE(depth) << x << ' ' << y;
        EXPECT_NEAR(*depth, -on_plane(float(x), float(y) - 0.5f).z, 1e-3f);
    }
}

TEST(Picking, HitsWhatIsSmallerThanThePixelAndMissesWhatPassesBy) {
    const auto near_pixel = [](float dx, float dy) { return seen_at(300 + dx, 80 + dy, 20); };
    const auto speck_at = [](float dx, float dy, float distance = 20) {
        const auto at = [&](float x, float y) { return seen_at(300 + dx + x, 80 + dy + y, distance); };
        return surface_of({at(0, 0), at(0.01f, 0), at(0, 0.01f)});
    };
    for (const auto& [dx, dy] : {std::pair{0.45f, -0.48f}, {-0.48f, 0.45f}}) {
        EXPECT_TRUE(pick(300, 80, speck_at(dx, dy)));
        EXPECT_FALSE(pick(300, 80, speck_at(dx, dy, -20))) << "behind the eye";
    }
    for (const auto& [dx, dy] : {std::pair{0.52f, 0.0f}, {-0.55f, 0.0f}, {0.0f, 0.52f}, {0.0f, -0.55f}})
        EXPECT_FALSE(pick(300, 80, speck_at(dx, dy))) << dx << ' ' << dy;
    // Its bounding box and every plane's positive side reach into the pixel, the triangle itself does not.
    const pmt3d::polygon_t passing =
        surface_of({near_pixel(-3, 1.8f), near_pixel(1.8f, -3), near_pixel(-3, -3)});
    EXPECT_FALSE(pick(300, 80, passing));
    EXPECT_TRUE(pick(299, 80, passing));
    // Moved by its model matrix.
    const pos3 there = near_pixel(0, 0);
    const mtx3w moved = mtx3w::translation(-there.x, -there.y, 0);
    EXPECT_TRUE(pick(400, 100, speck_at(0, 0), moved));
    EXPECT_FALSE(pick(300, 80, speck_at(0, 0), moved));
}

TEST(Picking, StripEndsAndEmptySurfacesCoverNothing) {
    const auto at = [](float dx, float dy) { return seen_at(500 + dx, 50 + dy, 10); };
    // Two triangles left and right of the pixel; together they would cover it.
    pmt3d::polygon_t pair = surface_of({at(-9, -9), at(-3, -9), at(-3, 9), at(3, 9), at(3, -9), at(9, -9)});
    EXPECT_TRUE(pick(500, 50, pair));
    ASSERT_TRUE(pair.extend(6, 7));
    const pmt3d::element_t split[] = {0, 1, 2, pmt3d::strip_end, 3, 4, 5};
    std::copy(std::begin(split), std::end(split), pair.edit_elements().begin());
    EXPECT_FALSE(pick(500, 50, pair));
    EXPECT_TRUE(pick(496, 50, pair));
    EXPECT_FALSE(pick(500, 50, pmt3d::polygon_t()));

    const float infinite = std::numeric_limits<float>::infinity();
    EXPECT_FALSE(pick(500, 50, surface_of({at(0, 0), {infinite, -infinite, -infinite}, {NAN, NAN, NAN}})));
}
