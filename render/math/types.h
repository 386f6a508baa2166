#pragma once
// The value types of geometry, colour and texture coordinates. All are plain aggregates; {} gives zeros.
// Geometry is single precision; only the camera's extents are doubles. Angles are in degrees.

#include <cstddef>
#include <cstdint>

namespace render {

// ---- Geometry

struct pos3 { // point in space
    float x, y, z;
    friend bool operator==(const pos3&, const pos3&) = default;
};
struct dir3 { // direction, normally of unit length
    float x, y, z;
    friend bool operator==(const dir3&, const dir3&) = default;
};
struct pos2 { // point in the plane
    float x, y;
    friend bool operator==(const pos2&, const pos2&) = default;
};
struct dir2 { // direction in the plane
    float x, y;
    friend bool operator==(const dir2&, const dir2&) = default;
};
struct pos2l { // pixel
    std::int32_t x, y;
    friend bool operator==(const pos2l&, const pos2l&) = default;
};
struct dir2l { // offset in pixels
    std::int32_t x, y;
    friend bool operator==(const dir2l&, const dir2l&) = default;
};
struct vec3w { // homogeneous vector
    float x, y, z, w;
    friend bool operator==(const vec3w&, const vec3w&) = default;
};

// ---- Rotation and posture

struct qua { // quaternion, scalar part first
    float w, x, y, z;
    friend bool operator==(const qua&, const qua&) = default;
};
struct rot3 { // turn by an angle about an axis, counter-clockwise when the axis points at the viewer
    float angle;
    dir3 axis;
    friend bool operator==(const rot3&, const rot3&) = default;
};
struct plr3 { // polar coordinates: distance, angle from the z axis, angle about it from the x axis
    float radius, theta, phi;
    friend bool operator==(const plr3&, const plr3&) = default;
};
struct ang3 { // angles about the vertical, the sideways and the forward axis
    float heading, pitch, bank;
    friend bool operator==(const ang3&, const ang3&) = default;
};
struct rev3 { // turns about the x, y and z axis, applied in this order
    float x, y, z;
    friend bool operator==(const rev3&, const rev3&) = default;
};
struct pst3w { // posture: the turn of the frame, the turn within it, the place
    rev3 frame, turn;
    pos3 position;
    friend bool operator==(const pst3w&, const pst3w&) = default;
};
struct srt3 { // scalar with a direction
    float scalar;
    dir3 direction;
    friend bool operator==(const srt3&, const srt3&) = default;
};
struct irt3 { // turns with a scalar and its direction
    rev3 turn;
    srt3 scale;
    friend bool operator==(const irt3&, const irt3&) = default;
};

// 4 by 4 homogeneous matrix, column-major: column c, row r is element 4c + r. Applied to column vectors.
struct mtx3w {
    float m[16];

    constexpr float& operator[](std::size_t i) { return m[i]; }
    constexpr const float& operator[](std::size_t i) const { return m[i]; }
    friend bool operator==(const mtx3w&, const mtx3w&) = default;

    static constexpr mtx3w identity() { return {{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}}; }
    static constexpr mtx3w translation(float x, float y, float z) {
        return {{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1}};
    }
};

// ---- Colours, 0 to 1

struct col3 {
    float r, g, b;
    friend bool operator==(const col3&, const col3&) = default;
};
struct col3a {
    float r, g, b, a;
    friend bool operator==(const col3a&, const col3a&) = default;
};

// ---- Colours, 0 to 255

struct col3aub {
    std::uint8_t r, g, b, a;
    friend bool operator==(const col3aub&, const col3aub&) = default;
};
struct col3ub {
    std::uint8_t r, g, b;
    friend bool operator==(const col3ub&, const col3ub&) = default;
};
struct col1aub { // grey with alpha
    std::uint8_t luminance, a;
    friend bool operator==(const col1aub&, const col1aub&) = default;
};
struct col1ub { // grey
    std::uint8_t luminance;
    friend bool operator==(const col1ub&, const col1ub&) = default;
};

// ---- Texture coordinates; q divides the others

struct txc1 {
    float s;
    friend bool operator==(const txc1&, const txc1&) = default;
};
struct txc2 {
    float s, t;
    friend bool operator==(const txc2&, const txc2&) = default;
};
struct txc2q {
    float s, t, q;
    friend bool operator==(const txc2q&, const txc2q&) = default;
};
struct txc3 {
    float s, t, r;
    friend bool operator==(const txc3&, const txc3&) = default;
};
struct txc3q {
    float s, t, r, q;
    friend bool operator==(const txc3q&, const txc3q&) = default;
};

// ---- Extents, counts, planes and lines

struct box2 {
    pos2 min, max;
    friend bool operator==(const box2&, const box2&) = default;
};
struct box3 {
    pos3 min, max;
    friend bool operator==(const box3&, const box3&) = default;
};
struct dim2 {
    std::uint64_t width, height;
    friend bool operator==(const dim2&, const dim2&) = default;
};
struct dim3 {
    std::uint64_t width, height, depth;
    friend bool operator==(const dim3&, const dim3&) = default;
};
struct surface { // the plane a x + b y + c z + d = 0
    float a, b, c, d;
    friend bool operator==(const surface&, const surface&) = default;
};
struct line2d { // the line a x + b y + c = 0
    float a, b, c;
    friend bool operator==(const line2d&, const line2d&) = default;
};
struct line3d { // a direction, the matrix into a frame along it and the matrix back
    dir3 direction;
    mtx3w into, back;
    friend bool operator==(const line3d&, const line3d&) = default;
};

// The camera's extents: at the near plane for a perspective view, of the whole volume for a parallel one.
// (The Windows headers define near and far as macros.)
struct projection {
    double left, right, bottom, top, znear, zfar;
    friend bool operator==(const projection&, const projection&) = default;
};

// A lens. The field of view is in radians, across the diagonal of the view; aspect is width / height.
struct perspective {
    double fov = 1.5707963267948966;
    double aspect = 4.0 / 3.0;
    double znear = 0.1;
    double zfar = 1000.1;
    friend bool operator==(const perspective&, const perspective&) = default;
};

// The frame of a triangle, for diagnostics: its plane, its matrix, its three edges in the plane, its corners
// and three rows of numbers.
struct frame_record {
    surface plane;
    mtx3w matrix;
    line2d edges[3];
    pos3 corners[3];
    float rows[3][3];
};

} // namespace render
