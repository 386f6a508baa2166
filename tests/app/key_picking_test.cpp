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

bool between(const side_planes& planes, const pos3& p) {
    return std::all_of(planes.begin(), planes.end(), [&](const render::surface& s) {
        return s.a * p.x + s.b * p.y + s.c * p.z + s.d >= 0;
    });
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

TEST(PixelPlanes, EncloseWhatThePixelShows) {
    std::mt19937 random(1);
    for (int i = 0; i < 500; ++i) {
        const int x = int(random() % width), y = int(random() % height);
        const float distance = 0.1f + static_cast<float>(random() % 9000) / 10;
        const side_planes planes = planes_around_pixel(x, y, width, height, projection());
        const auto at = [&](float dx, float dy) { return seen_at(float(x) + dx, float(y) + dy, distance); };
        EXPECT_TRUE(between(planes, at(0, 0)));
        EXPECT_TRUE(between(planes, at(0.48f, -0.48f)));
        for (const auto& [dx, dy] : {std::pair{0.52f, 0.0f}, {-0.52f, 0.0f}, {0.0f, 0.52f}, {0.0f, -0.52f}})
            EXPECT_FALSE(between(planes, at(dx, dy))) << x << ' ' << y << ' ' << dx << ' ' << dy;
        const pos3 p = at(0, 0);
        EXPECT_FALSE(between(planes, {-p.x, -p.y, -p.z})); // behind the eye
    }
}

TEST(Clip, KeepsWhatLiesOnThePositiveSide) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<pos3> square = {{0, 0, 0}, {2, 0, 0}, {2, 2, 0}, {0, 2, 0}};
    const struct {
        render::surface plane;
        std::size_t corners;
        float area;
    } cases[] = {
        {{1, 0, 0, 1}, 4, 4},      // all inside
        {{1, 0, 0, 0}, 4, 4},      // an edge in the plane
        {{1, 0, 0, -3}, 0, 0},     // all outside
        {{1, 0, 0, -0.5f}, 4, 3},  // a strip cut off
        {{1, 1, 0, -1}, 5, 3.5f},  // a corner cut off
        {{-1, -1, 0, 1}, 3, 0.5f}, // only that corner
        {{1, -1, 0, 0}, 3, 2},     // through two corners
        {{nan, 0, 0, 1}, 0, 0},
    };
    for (const auto& c : cases) {
        std::vector<pos3> polygon = square;
        clip(polygon, c.plane);
        float area = 0;
        for (std::size_t i = 2; i < polygon.size(); ++i)
            area += render::triangle_normal(polygon[0], polygon[i - 1], polygon[i]).z / 2;
        EXPECT_EQ(polygon.size(), c.corners) << c.plane.a << ' ' << c.plane.b << ' ' << c.plane.d;
        EXPECT_NEAR(area, c.area, 1e-5f);
    }
    std::vector<pos3> with_nan = {{0, 0, 0}, {nan, 0, 0}, {0, 1, 0}};
    clip(with_nan, {0, 0, 0, 1});
    clip(with_nan, {1, 0, 0, 0.5f});
    for (const pos3& p : with_nan)
        EXPECT_FALSE(std::isnan(p.x));
}

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
    const pmt3d::polygon_t speck =
        surface_of({near_pixel(0.1f, 0.1f), near_pixel(0.2f, 0.1f), near_pixel(0.1f, 0.2f)});
    EXPECT_TRUE(pick(300, 80, speck));
    EXPECT_FALSE(pick(301, 80, speck));
    // Its bounding box and every plane's positive side reach into the pixel, the triangle itself does not.
    const pmt3d::polygon_t passing =
        surface_of({near_pixel(-3, 1.8f), near_pixel(1.8f, -3), near_pixel(-3, -3)});
    EXPECT_FALSE(pick(300, 80, passing));
    EXPECT_TRUE(pick(299, 80, passing));

    // Turned away by its model matrix.
    EXPECT_FALSE(pick(300, 80, speck, mtx3w::translation(0, 1, 0)));
    const pos3 there = near_pixel(0, 0);
    EXPECT_TRUE(pick(400, 100, speck, mtx3w::translation(-there.x, -there.y, 0)));
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
