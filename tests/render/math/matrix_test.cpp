#include "render/math/matrix.h"

#include "render/math/operations.h"
#include "render/math/projection.h"
#include "render/math/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace {

using namespace render;

constexpr mtx3w counting = {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}};

void expect_near(const mtx3w& is, const mtx3w& expected, float tolerance) {
    for (int i = 0; i < 16; ++i)
        EXPECT_NEAR(is[i], expected[i], tolerance) << "element " << i << " of " << is;
}

TEST(matrix, products) {
    static_assert(counting * vec3w{1, 0, 0, 0} == vec3w{1, 2, 3, 4});
    static_assert(vec3w{1, 0, 0, 0} * counting == vec3w{1, 5, 9, 13});
    EXPECT_EQ((counting * vec3w{1, 2, 3, 4}), (vec3w{90, 100, 110, 120}));
    EXPECT_EQ((vec3w{1, 2, 3, 4} * counting), (transpose(counting) * vec3w{1, 2, 3, 4}));
    EXPECT_EQ(transpose(transpose(counting)), counting);
    EXPECT_EQ(counting * mtx3w::identity(), counting);
    const mtx3w moved = mtx3w::translation(1, 2, 3), turned = to_matrix(rot3{90, {0, 0, 1}});
    expect_near(moved * turned, {{0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 1, 2, 3, 1}}, 1e-7f);
    EXPECT_EQ((counting * counting)[6], 3 * 5 + 7 * 6 + 11 * 7 + 15 * 8);
}

TEST(matrix, inverse) {
    std::mt19937 random(1);
    for (int i = 0; i < 100; ++i) {
        mtx3w m;
        for (float& element : m.m)
            element = std::uniform_real_distribution(-1.0f, 1.0f)(random);
        const mtx3w inverted = inverse(m);
        float size = 1;
        for (const float f : inverted.m)
            size += f * f;
        // Cancellation in the determinant costs digits in proportion to the size of the result.
        expect_near(inverted * m, mtx3w::identity(), 1e-6f * size);
    }
    EXPECT_EQ(inverse(mtx3w::translation(1, 2, 3)), mtx3w::translation(-1, -2, -3));
    const mtx3w of_nothing = inverse(mtx3w{});
    EXPECT_TRUE(
        std::all_of(std::begin(of_nothing.m), std::end(of_nothing.m), [](float f) { return std::isnan(f); }));
    const mtx3w flat = inverse({{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}});
    EXPECT_EQ(flat[10], std::numeric_limits<float>::infinity());
}

TEST(rotation, to_matrix_and_back) {
    expect_near(to_matrix(rot3{90, {0, 0, 5}}), {{0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}}, 1e-7f);
    expect_near(to_matrix(rot3{90, {1, 0, 0}}), {{1, 0, 0, 0, 0, 0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1}}, 1e-7f);
    expect_near(to_matrix(rot3{90, {0, 1, 0}}), {{0, 0, -1, 0, 0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 1}}, 1e-7f);
    expect_near(to_matrix(rot3{120, {1, 1, 1}}), {{0, 1, 0, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0, 1}}, 1e-6f);
    for (const float angle : {1.0f, 30.0f, 90.0f, 179.0f}) {
        const rot3 r = {angle, normalise(dir3{1, -2, 3})};
        const rot3 back = to_rotation(to_matrix(r));
        EXPECT_NEAR(back.angle, angle, 2e-2f / std::min(angle, 180 - angle))
            << "the arc cosine is weak near 1 and -1";
        EXPECT_NEAR(dot(back.axis, r.axis), 1.0f, 1e-4f);
    }
    EXPECT_EQ(to_matrix(rot3{45, {0, 0, 0}})[0], float(std::cos(45 * radians_per_degree))) << "no axis: c I";
    EXPECT_EQ(to_rotation(mtx3w::identity()), (rot3{0, {0, 0, 0}}));
    mtx3w m = counting;
    EXPECT_EQ(to_rotation(m), (rot3{0, {0, 0, 1}})) << "no angle has this cosine";
    m[0] = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(to_rotation(m), (rot3{0, {0, 0, 1}}));
}

TEST(rotation, between_directions) {
    const dir3 a = normalise(dir3{1, 2, 3}), b = normalise(dir3{-2, 1, 1});
    const vec3w turned = to_matrix(rotation_between(a, b)) * normalise_vec3w(a);
    EXPECT_NEAR(length(dir3{turned.x, turned.y, turned.z} - b), 0, 1e-6f);
    EXPECT_EQ(rotation_between({1, 0, 0}, {0, 1, 0}), (rot3{90, {0, 0, 1}}));
    EXPECT_EQ(rotation_between({1, 0, 0}, {1, 0, 0}), (rot3{0, {0, 0, 1}}));
    EXPECT_EQ(rotation_between({1, 0, 0}, {-1, 0, 0}), (rot3{0, {0, 0, 1}}));
}

TEST(quaternion, to_matrix) {
    static_assert(to_matrix(qua{1, 0, 0, 0}) == mtx3w::identity());
    EXPECT_EQ(to_matrix(qua{0, 1, 0, 0}), (mtx3w{{-1, 0, 0, 0, 0, -1, 0, 0, 0, 0, -1, 0, 0, 0, 0, 1}}));
    EXPECT_EQ(to_matrix(qua{1, 2, 3, 4}),
              (mtx3w{{1 - 4 - 9 - 16, 2 * (6 + 4), 2 * (8 - 3), 0, 2 * (6 - 4), 1 - 4 + 9 - 16, 2 * (12 + 2),
                      0, 2 * (8 + 3), 2 * (12 - 2), 1 - 4 - 9 + 16, 0, 0, 0, 0, 1}}));
}

TEST(projection, from_a_lens) {
    const projection p = to_projection({});
    EXPECT_NEAR(p.top, 0.06, 1e-15);
    EXPECT_NEAR(p.right, 0.08, 1e-15);
    EXPECT_EQ(p.left, -p.right);
    EXPECT_EQ(p.bottom, -p.top);
    EXPECT_EQ(p.znear, 0.1);
    EXPECT_EQ(p.zfar, 1000.1);
    const projection far = to_far_projection({});
    EXPECT_NEAR(far.top, 600.06, 1e-9);
    EXPECT_NEAR(far.right, 800.08, 1e-9);
    EXPECT_EQ(make_projection(2, 3, 4), (projection{-2, 2, -1, 1, 3, 4}));
    EXPECT_EQ(aspect(800, 200), 4.0);
    EXPECT_NEAR(field_of_view(half_frame_diagonal), 1.5707963267948966, 1e-15);
    EXPECT_NEAR(focal_length(field_of_view(50)), half_frame_diagonal * half_frame_diagonal / 50, 1e-12);
}

TEST(projection, matrices) {
    const projection p = {-1, 3, -2, 4, 1, 9};
    const mtx3w perspective = perspective_matrix(p), parallel = orthographic_matrix(p);
    EXPECT_EQ(perspective, (mtx3w{{0.5f, 0, 0, 0, 0, float(2.0 / 6), 0, 0, 0.5f, float(2.0 / 6), -1.25f, -1,
                                   0, 0, -2.25f, 0}}));
    EXPECT_EQ(parallel, (mtx3w{{0.5f, 0, 0, 0, 0, float(2.0 / 6), 0, 0, 0, 0, -0.25f, 0, -0.5f,
                                float(-2.0 / 6), -1.25f, 1}}));
    expect_near(perspective * inverse_perspective_matrix(p), mtx3w::identity(), 1e-6f);
    expect_near(parallel * inverse_orthographic_matrix(p), mtx3w::identity(), 1e-6f);
    // The corners of the volume are the corners of the cube.
    EXPECT_EQ(homogeneous_divide(perspective * vec3w{3, 4, -1, 1}), (pos3{1, 1, -1}));
    EXPECT_EQ(homogeneous_divide(perspective * vec3w{-9, -18, -9, 1}), (pos3{-1, -1, 1}));
    const mtx3w flat = perspective_matrix({1, 1, 0, 1, 1, 2});
    EXPECT_EQ(flat[0], std::numeric_limits<float>::infinity());
    EXPECT_EQ(flat[8], std::numeric_limits<float>::infinity());
}

} // namespace
