#include "app/key_picking.h"

#include "render/math/matrix.h"
#include "render/math/projection.h"
#include "surfaces.h"

#include <cmath>
#include <numeric>

using namespace quenvarel;
using render::mtx3w;
using render::pos3;

namespace {

constexpr int width = 800, height = 200;
const mtx3w projection = render::perspective_matrix(render::to_projection(
    {.fov = 1.5707963267948966, .aspect = double(width) / height, .znear = 0.0625, .zfar = 1024}));

// The point at a distance in front of the eye that is drawn at a place of the picture, in pixels from the
// lower left.
pos3 seen_at(float x, float y, float distance) {
    return {(x / (width / 2.0f) - 1) * distance / projection[0],
            (y / (height / 2.0f) - 1) * distance / projection[5], -distance};
}

// One strip.
pmt3d::polygon_t strip_of(const std::vector<pos3>& corners) {
    std::vector<pmt3d::element_t> all(corners.size());
    std::iota(all.begin(), all.end(), 0);
    return test_support::surface_of(corners, all);
}

std::optional<float> pick(int x, int y, const pmt3d::polygon_t& surface,
                          const mtx3w& model = mtx3w::identity()) {
    const auto bounds = surface.bounds().value_or(render::box3{});
    return nearest_between(planes_around_pixel(x, y, width, height, projection), surface, bounds, model);
}

TEST(picking, depth_is_that_of_the_nearest_visible_point) {
    // A plane tilted like a key's top that fills the whole picture: its nearest point in a pixel lies on the
    // ray through the pixel's lower edge.
    const auto on_plane = [&](float x, float y) {
        const pos3 unit = seen_at(x, y, 1);
        const float distance = 40 / (1 - 0.7f * unit.y); // 40 + 0.7 * height
        return pos3{unit.x * distance, unit.y * distance, -distance};
    };
    const pmt3d::polygon_t plane =
        strip_of({on_plane(-50, -50), on_plane(850, -50), on_plane(-50, 250), on_plane(850, 250)});
    for (const auto& [x, y] : {std::pair{0, 0}, {400, 100}, {799, 199}, {123, 45}}) {
        const auto depth = pick(x, y, plane);
        ASSERT_TRUE(depth) << x << ' ' << y;
        EXPECT_NEAR(*depth, -on_plane(float(x), float(y) - 0.5f).z, 1e-3f);
    }
}

TEST(picking, hits_what_is_smaller_than_the_pixel_and_misses_what_passes_by) {
    const auto near_pixel = [](float dx, float dy) { return seen_at(300 + dx, 80 + dy, 20); };
    const auto speck_at = [](float dx, float dy, float distance = 20) {
        const auto at = [&](float x, float y) { return seen_at(300 + dx + x, 80 + dy + y, distance); };
        return strip_of({at(0, 0), at(0.01f, 0), at(0, 0.01f)});
    };
    for (const auto& [dx, dy] : {std::pair{0.45f, -0.48f}, {-0.48f, 0.45f}}) {
        EXPECT_TRUE(pick(300, 80, speck_at(dx, dy)));
        EXPECT_FALSE(pick(300, 80, speck_at(dx, dy, -20))) << "behind the eye";
    }
    for (const auto& [dx, dy] : {std::pair{0.52f, 0.0f}, {-0.55f, 0.0f}, {0.0f, 0.52f}, {0.0f, -0.55f}})
        EXPECT_FALSE(pick(300, 80, speck_at(dx, dy))) << dx << ' ' << dy;
    // Its bounding box and every plane's positive side reach into the pixel, the triangle itself does not.
    const auto passing = strip_of({near_pixel(-3, 1.8f), near_pixel(1.8f, -3), near_pixel(-3, -3)});
    EXPECT_FALSE(pick(300, 80, passing));
    EXPECT_TRUE(pick(299, 80, passing));
    // Moved by its model matrix.
    const pos3 there = near_pixel(0, 0);
    const mtx3w moved = mtx3w::translation(-there.x, -there.y, 0);
    EXPECT_TRUE(pick(400, 100, speck_at(0, 0), moved));
    EXPECT_FALSE(pick(300, 80, speck_at(0, 0), moved));
}

TEST(picking, strip_ends_and_empty_surfaces_cover_nothing) {
    const auto at = [](float dx, float dy) { return seen_at(500 + dx, 50 + dy, 10); };
    // Two triangles left and right of the pixel; together they would cover it.
    const std::vector<pos3> pair = {at(-9, -9), at(-3, -9), at(-3, 9), at(3, 9), at(3, -9), at(9, -9)};
    EXPECT_TRUE(pick(500, 50, strip_of(pair)));
    const auto split = test_support::surface_of(pair, {0, 1, 2, pmt3d::strip_end, 3, 4, 5});
    EXPECT_FALSE(pick(500, 50, split));
    EXPECT_TRUE(pick(496, 50, split));
    EXPECT_FALSE(pick(500, 50, pmt3d::polygon_t()));
    EXPECT_FALSE(pick(500, 50, strip_of({at(0, 0), {INFINITY, -INFINITY, -INFINITY}, {NAN, NAN, NAN}})));
}

} // namespace
