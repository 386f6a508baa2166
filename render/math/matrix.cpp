#include "render/math/matrix.h"

#include "render/math/operations.h"

#include <cmath>
#include <limits>

namespace render {

mtx3w inverse(const mtx3w& m) {
    // Determinants of the 2 by 2 blocks: s from rows 0 and 1, t from rows 2 and 3 of each pair of columns.
    const auto pair = [&m](int c, int d, int r) {
        return m[4 * c + r] * m[4 * d + r + 1] - m[4 * d + r] * m[4 * c + r + 1];
    };
    const float s01 = pair(0, 1, 0), s02 = pair(0, 2, 0), s03 = pair(0, 3, 0);
    const float s12 = pair(1, 2, 0), s13 = pair(1, 3, 0), s23 = pair(2, 3, 0);
    const float t01 = pair(0, 1, 2), t02 = pair(0, 2, 2), t03 = pair(0, 3, 2);
    const float t12 = pair(1, 2, 2), t13 = pair(1, 3, 2), t23 = pair(2, 3, 2);
    const float det = s01 * t23 - s02 * t13 + s03 * t12 + s12 * t03 - s13 * t02 + s23 * t01;
    mtx3w inverted = {{
        m[5] * t23 - m[9] * t13 + m[13] * t12,
        -m[1] * t23 + m[9] * t03 - m[13] * t02,
        m[1] * t13 - m[5] * t03 + m[13] * t01,
        -m[1] * t12 + m[5] * t02 - m[9] * t01,
        -m[4] * t23 + m[8] * t13 - m[12] * t12,
        m[0] * t23 - m[8] * t03 + m[12] * t02,
        -m[0] * t13 + m[4] * t03 - m[12] * t01,
        m[0] * t12 - m[4] * t02 + m[8] * t01,
        m[7] * s23 - m[11] * s13 + m[15] * s12,
        -m[3] * s23 + m[11] * s03 - m[15] * s02,
        m[3] * s13 - m[7] * s03 + m[15] * s01,
        -m[3] * s12 + m[7] * s02 - m[11] * s01,
        -m[6] * s23 + m[10] * s13 - m[14] * s12,
        m[2] * s23 - m[10] * s03 + m[14] * s02,
        -m[2] * s13 + m[6] * s03 - m[14] * s01,
        m[2] * s12 - m[6] * s02 + m[10] * s01,
    }};
    for (float& element : inverted.m)
        element /= det;
    return inverted;
}

mtx3w look_at(const pos3& eye, const pos3& target) {
    const dir3 back = normalise(eye - target);
    dir3 right = normalise(cross(dir3{0, 1, 0}, back));
    if (length(right) < 0.5f) right = {1, 0, 0};
    const dir3 up = cross(back, right);
    return {{right.x, up.x, back.x, 0, right.y, up.y, back.y, 0, right.z, up.z, back.z, 0, -dot(right, eye),
             -dot(up, eye), -dot(back, eye), 1}};
}

mtx3w to_matrix(const rot3& r) {
    const double theta = r.angle * radians_per_degree;
    const float c = float(std::cos(theta)), s = float(std::sin(theta));
    const dir3 a = normalise(r.axis);
    // a aT + c (I - a aT) + s K, with the cross-product matrix K
    const auto element = [c, s](float aa, float unit, float k) { return aa + c * (unit - aa) + s * k; };
    return {{element(a.x * a.x, 1, 0), element(a.y * a.x, 0, a.z), element(a.z * a.x, 0, -a.y), 0.0f,
             element(a.x * a.y, 0, -a.z), element(a.y * a.y, 1, 0), element(a.z * a.y, 0, a.x), 0.0f,
             element(a.x * a.z, 0, a.y), element(a.y * a.z, 0, -a.x), element(a.z * a.z, 1, 0), 0.0f, 0.0f,
             0.0f, 0.0f, 1.0f}};
}

rot3 to_rotation(const mtx3w& m) {
    const float cosine = (m[0] + m[5] + m[10] - 1.0f) / 2.0f;
    const float angle = float(std::acos(double(cosine)) * degrees_per_radian);
    // Written so that NaN fails it too.
    if (!(std::fabs(angle) <= std::numeric_limits<float>::max())) return {0.0f, {0.0f, 0.0f, 1.0f}};
    return {angle, normalise(dir3{m[6] - m[9], m[8] - m[2], m[1] - m[4]})};
}

rot3 rotation_between(const dir3& from, const dir3& to) {
    const dir3 axis = cross(from, to);
    const float l = length(axis);
    if (l == 0.0f) return {0.0f, {0.0f, 0.0f, 1.0f}};
    return {float(std::acos(double(dot(from, to))) * degrees_per_radian), axis / l};
}

} // namespace render
