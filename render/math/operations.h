#pragma once
// Vectors, quaternions, comparisons and grids. Every function returns a new value and rounds to single
// precision after every step. Nothing is checked: divisions by zero give infinities or NaN, which propagate.

#include "render/math/types.h"

#include <algorithm>
#include <cmath>
#include <concepts>
#include <optional>

namespace render {

template <class V>
concept vector3 = std::same_as<V, pos3> || std::same_as<V, dir3>;

// ---- Points and directions

constexpr dir3 operator-(const pos3& a, const pos3& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
constexpr pos3 operator+(const pos3& p, const dir3& d) {
    return {p.x + d.x, p.y + d.y, p.z + d.z};
}
constexpr pos3 operator-(const pos3& p, const dir3& d) {
    return {p.x - d.x, p.y - d.y, p.z - d.z};
}
constexpr dir3 operator+(const dir3& a, const dir3& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
constexpr dir3 operator-(const dir3& a, const dir3& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
constexpr dir3 operator-(const dir3& d) {
    return {-d.x, -d.y, -d.z};
}
constexpr dir3 operator*(const dir3& d, float s) {
    return {d.x * s, d.y * s, d.z * s};
}
constexpr dir3 operator*(float s, const dir3& d) {
    return d * s;
}
constexpr dir3 operator/(const dir3& d, float s) {
    return {d.x / s, d.y / s, d.z / s};
}

template <vector3 A, vector3 B>
constexpr float dot(const A& a, const B& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
template <vector3 A, vector3 B>
constexpr dir3 cross(const A& a, const B& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

inline float length(const dir3& d) {
    return std::sqrt(d.x * d.x + d.y * d.y + d.z * d.z);
}
// Each component times 1 / length; the zero vector stays the zero vector.
inline dir3 normalise(const dir3& d) {
    const float l = length(d);
    return l == 0.0f ? dir3{0.0f, 0.0f, 0.0f} : d * (1.0f / l);
}
inline dir3 normalise(const pos3& p) {
    return normalise(dir3{p.x, p.y, p.z});
}
inline vec3w normalise_vec3w(const dir3& d) {
    const dir3 n = normalise(d);
    return {n.x, n.y, n.z, 0.0f};
}

// (p1 - p0) x (p2 - p1): towards a viewer who sees the corners counter-clockwise; its length is twice the
// area.
constexpr dir3 triangle_normal(const pos3& p0, const pos3& p1, const pos3& p2) {
    return cross(p1 - p0, p2 - p1);
}
inline dir3 unit_triangle_normal(const pos3& p0, const pos3& p1, const pos3& p2) {
    return normalise(triangle_normal(p0, p1, p2));
}
// ((p1 - p0) x (p2 - p0)) . (p3 - p0): six times the volume of the tetrahedron.
constexpr float signed_volume(const pos3& p0, const pos3& p1, const pos3& p2, const pos3& p3) {
    return dot(cross(p1 - p0, p2 - p0), p3 - p0);
}
// (a x b) . c
template <vector3 A, vector3 B, vector3 C>
constexpr float triple_product(const A& a, const B& b, const C& c) {
    return dot(cross(a, b), c);
}
// w: d = a . b; x, y, z: a x b divided by d, or as it is when d is 0.
template <vector3 A, vector3 B>
constexpr qua dot_and_cross(const A& a, const B& b) {
    const float d = dot(a, b);
    const dir3 c = cross(a, b);
    return d == 0.0f ? qua{d, c.x, c.y, c.z} : qua{d, c.x / d, c.y / d, c.z / d};
}
// The point of a homogeneous vector: the components times 1 / w.
constexpr pos3 homogeneous_divide(const vec3w& v) {
    const float r = 1.0f / v.w;
    return {v.x * r, v.y * r, v.z * r};
}

// ---- Boxes that grow; one without a value holds nothing

inline void enclose(std::optional<box3>& box, const pos3& p) {
    if (!box) box = {p, p};
    box->min = {std::min(box->min.x, p.x), std::min(box->min.y, p.y), std::min(box->min.z, p.z)};
    box->max = {std::max(box->max.x, p.x), std::max(box->max.y, p.y), std::max(box->max.z, p.z)};
}
inline void enclose(std::optional<box3>& box, const std::optional<box3>& other) {
    if (!other) return;
    enclose(box, other->min);
    enclose(box, other->max);
}

// ---- Quaternions

constexpr qua operator*(const qua& a, const qua& b) {
    return {a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z, a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y,
            a.w * b.y + a.y * b.w + a.z * b.x - a.x * b.z, a.w * b.z + a.z * b.w + a.x * b.y - a.y * b.x};
}
// The vector part of q (0, v) and of (0, v) q.
constexpr dir3 operator*(const qua& q, const dir3& v) {
    const qua p = q * qua{0.0f, v.x, v.y, v.z};
    return {p.x, p.y, p.z};
}
constexpr dir3 operator*(const dir3& v, const qua& q) {
    const qua p = qua{0.0f, v.x, v.y, v.z} * q;
    return {p.x, p.y, p.z};
}

// ---- Approximate comparisons, false for NaN

inline constexpr float tolerance = 2e-5f;

constexpr bool approx_equal(float a, float b) {
    return a - b <= tolerance && a - b >= -tolerance;
}
constexpr bool approx_equal(float a, float b, float c) {
    return approx_equal(a, b) && approx_equal(b, c) && approx_equal(a, c);
}
constexpr bool approx_less(float a, float b) {
    return a - b < -tolerance;
}
constexpr bool approx_greater(float a, float b) {
    return a - b > tolerance;
}
// A difference of exactly the tolerance is equal, but neither of these.
constexpr bool approx_less_equal(float a, float b) {
    return a - b < tolerance;
}
constexpr bool approx_greater_equal(float a, float b) {
    return a - b > -tolerance;
}

// ---- Grids of a scalar step or one per axis

// The next multiple of the step toward zero.
float truncate(float x, float step);
pos3 truncate(const pos3& p, const dir3& step);
inline pos3 truncate(const pos3& p, float step) {
    return truncate(p, dir3{step, step, step});
}
// That multiple, or one step more if x lies above it: for a positive step the least multiple that is not
// below x.
float round_up(float x, float step);
pos3 round_up(const pos3& p, const dir3& step);
inline pos3 round_up(const pos3& p, float step) {
    return round_up(p, dir3{step, step, step});
}

} // namespace render
