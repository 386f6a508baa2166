#include "render/math/operations.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using namespace render;

constexpr float inf = std::numeric_limits<float>::infinity();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();

TEST(operations, normalise) {
    EXPECT_EQ(normalise(dir3{0, 0, 0}), (dir3{0, 0, 0}));
    EXPECT_EQ(normalise(dir3{0, -4, 0}), (dir3{0, -1, 0}));
    EXPECT_EQ(normalise(pos3{3, 0, 4}), (dir3{3 * (1 / 5.0f), 0, 4 * (1 / 5.0f)})) << "times the reciprocal";
    EXPECT_EQ(normalise_vec3w(dir3{2, 0, 0}), (vec3w{1, 0, 0, 0}));
    // Too short and too long for a single-precision length.
    EXPECT_EQ(normalise(dir3{1e-30f, 0, 0}), (dir3{0, 0, 0}));
    EXPECT_EQ(normalise(dir3{1e30f, 0, 0}), (dir3{0, 0, 0}));
    EXPECT_TRUE(std::isnan(normalise(dir3{nan, 0, 0}).y));
}

TEST(operations, products_of_vectors) {
    constexpr dir3 x{1, 0, 0}, y{0, 1, 0}, z{0, 0, 1};
    static_assert(cross(x, y) == z && cross(y, z) == x && cross(z, x) == y);
    constexpr pos3 p0{0, 0, 0}, p1{2, 0, 0}, p2{0, 3, 0}, p3{0, 0, 4};
    EXPECT_EQ(triangle_normal(p0, p1, p2), (dir3{0, 0, 6}));
    EXPECT_EQ(unit_triangle_normal(p0, p1, p2), z);
    EXPECT_EQ(unit_triangle_normal(p0, p1, p1), (dir3{0, 0, 0}));
    EXPECT_EQ(signed_volume(p0, p1, p2, p3), 24.0f);
    EXPECT_EQ(signed_volume(p0, p2, p1, p3), -24.0f);
    EXPECT_EQ(triple_product(x, y, dir3{5, 6, 7}), 7.0f);
    EXPECT_EQ(dot_and_cross(dir3{2, 0, 0}, dir3{2, 1, 0}), (qua{4, 0, 0, 0.5f}));
    EXPECT_EQ(dot_and_cross(x, dir3{0, 3, 0}), (qua{0, 0, 0, 3})) << "no division by a zero product";
    EXPECT_EQ(homogeneous_divide({1, 2, -4, 4}), (pos3{0.25f, 0.5f, -1}));
    EXPECT_EQ(homogeneous_divide({1, -2, 3, 0}), (pos3{inf, -inf, inf}));
}

TEST(operations, products_of_quaternions) {
    constexpr qua one{1, 0, 0, 0}, i{0, 1, 0, 0}, j{0, 0, 1, 0}, k{0, 0, 0, 1};
    static_assert(i * j == k && j * k == i && k * i == j && i * i == qua{-1, 0, 0, 0} && one * k == k);
    EXPECT_EQ((qua{1, 2, 3, 4} * qua{5, 6, 7, 8}), (qua{-60, 12, 30, 24}));
    EXPECT_EQ((qua{2, 1, 0, 0} * dir3{0, 1, 0}), (dir3{0, 2, 1}));
    EXPECT_EQ((dir3{0, 1, 0} * qua{2, 1, 0, 0}), (dir3{0, 2, -1}));
}

TEST(operations, comparisons_and_their_edges) {
    const float e = 2e-5f, above = std::nextafter(e, 1.0f), below = std::nextafter(e, 0.0f);
    // For a difference d = a - b: which of equal, less, greater, less or equal, greater or equal hold.
    const std::tuple<float, float, bool, bool, bool, bool, bool> cases[] = {
        {0, 0, true, false, false, true, true},        {e, 0, true, false, false, false, true},
        {0, e, true, false, false, true, false},       {below, 0, true, false, false, true, true},
        {above, 0, false, false, true, false, true},   {0, above, false, true, false, true, false},
        {-inf, 1, false, true, false, true, false},    {nan, 0, false, false, false, false, false},
        {inf, inf, false, false, false, false, false},
    };
    for (const auto& [a, b, equal, less, greater, less_equal, greater_equal] : cases) {
        EXPECT_EQ(approx_equal(a, b), equal) << a << ' ' << b;
        EXPECT_EQ(approx_less(a, b), less) << a << ' ' << b;
        EXPECT_EQ(approx_greater(a, b), greater) << a << ' ' << b;
        EXPECT_EQ(approx_less_equal(a, b), less_equal) << a << ' ' << b;
        EXPECT_EQ(approx_greater_equal(a, b), greater_equal) << a << ' ' << b;
    }
    EXPECT_TRUE(approx_equal(0, e, e / 2));
    EXPECT_FALSE(approx_equal(-e / 2, e, 0)) << "each pair has to be equal";
    EXPECT_FALSE(approx_equal(0, -e / 2, e));
}

TEST(operations, grids) {
    const std::array<float, 4> cases[] = {
        {1.75f, 0.5f, 1.5f, 2.0f}, {-1.75f, 0.5f, -1.5f, -1.5f}, {1.5f, 0.5f, 1.5f, 1.5f},
        {0.25f, 1.0f, 0.0f, 1.0f}, {-0.25f, 1.0f, 0.0f, 0.0f},   {1.75f, -0.5f, 1.5f, 1.0f},
        {inf, 1.0f, inf, inf},
    };
    for (const auto& [x, step, truncated, rounded] : cases) {
        EXPECT_EQ(truncate(x, step), truncated) << x;
        EXPECT_EQ(round_up(x, step), rounded) << x;
    }
    EXPECT_TRUE(std::isnan(truncate(1.0f, 0.0f) * 0));
    EXPECT_EQ(truncate(pos3{1.7f, 1.7f, -1.7f}, dir3{1, 0.5f, 1}), (pos3{1, 1.5f, -1}));
    EXPECT_EQ(round_up(pos3{1.7f, 1.2f, -1.7f}, dir3{1, 0.5f, 1}), (pos3{2, 1.5f, -1}));
    EXPECT_EQ(round_up(pos3{0.1f, 1, 2}, 1.0f), (pos3{1, 1, 2}));
}

} // namespace
