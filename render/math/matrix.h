#pragma once
// 4 by 4 matrices and rotations. A matrix is column-major and applied to column vectors.

#include "render/math/types.h"

namespace render {

inline constexpr double radians_per_degree = 0.017453292519943122; // slightly below pi / 180
inline constexpr double degrees_per_radian = 57.29577951308232;

// m v: v as a column.
constexpr vec3w operator*(const mtx3w& m, const vec3w& v) {
    return {m[0] * v.x + m[4] * v.y + m[8] * v.z + m[12] * v.w,
            m[1] * v.x + m[5] * v.y + m[9] * v.z + m[13] * v.w,
            m[2] * v.x + m[6] * v.y + m[10] * v.z + m[14] * v.w,
            m[3] * v.x + m[7] * v.y + m[11] * v.z + m[15] * v.w};
}
// v m: v as a row, that is the transpose of m applied to v.
constexpr vec3w operator*(const vec3w& v, const mtx3w& m) {
    return {m[0] * v.x + m[1] * v.y + m[2] * v.z + m[3] * v.w,
            m[4] * v.x + m[5] * v.y + m[6] * v.z + m[7] * v.w,
            m[8] * v.x + m[9] * v.y + m[10] * v.z + m[11] * v.w,
            m[12] * v.x + m[13] * v.y + m[14] * v.z + m[15] * v.w};
}
// a b: b is applied first.
constexpr mtx3w operator*(const mtx3w& a, const mtx3w& b) {
    mtx3w product = {};
    for (int c = 0; c < 16; c += 4)
        for (int r = 0; r < 4; ++r)
            product[c + r] = a[r] * b[c] + a[4 + r] * b[c + 1] + a[8 + r] * b[c + 2] + a[12 + r] * b[c + 3];
    return product;
}

constexpr mtx3w transpose(const mtx3w& m) {
    return {{m[0], m[4], m[8], m[12], m[1], m[5], m[9], m[13], m[2], m[6], m[10], m[14], m[3], m[7], m[11],
             m[15]}};
}
// The adjugate divided by the determinant, which is not tested: a singular matrix gives infinities and NaN.
mtx3w inverse(const mtx3w& m);

// From world to eye space, for an eye that looks at a target with the y axis up; from straight above or below
// it the x axis is to the right.
mtx3w look_at(const pos3& eye, const pos3& target);

// The rotation by r.angle degrees about r.axis, which may have any length.
mtx3w to_matrix(const rot3& r);
// The rotation that a matrix makes. The identity gives angle 0 about (0, 0, 0). If no angle has the matrix's
// trace, the result is 0 degrees about (0, 0, 1).
rot3 to_rotation(const mtx3w& m);
// The rotation from one unit direction to another; 0 degrees about (0, 0, 1) if their cross product is zero.
rot3 rotation_between(const dir3& from, const dir3& to);

// The matrix of a quaternion. One element differs from the textbooks: m[0] is w² - x² - y² - z² (not + x²).
constexpr mtx3w to_matrix(const qua& q) {
    const float ww = q.w * q.w, xx = q.x * q.x, yy = q.y * q.y, zz = q.z * q.z;
    return {{ww - xx - yy - zz, 2.0f * (q.x * q.y + q.w * q.z), 2.0f * (q.x * q.z - q.w * q.y), 0.0f,
             2.0f * (q.x * q.y - q.w * q.z), ww - xx + yy - zz, 2.0f * (q.y * q.z + q.w * q.x), 0.0f,
             2.0f * (q.x * q.z + q.w * q.y), 2.0f * (q.y * q.z - q.w * q.x), ww - xx - yy + zz, 0.0f, 0.0f,
             0.0f, 0.0f, 1.0f}};
}

} // namespace render
