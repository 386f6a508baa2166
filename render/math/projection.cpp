#include "render/math/projection.h"

#include <cmath>

namespace render {

double field_of_view(double f) {
    return 2.0 * std::atan2(half_frame_diagonal, f);
}

double focal_length(double fov) {
    return half_frame_diagonal * std::tan(fov / 2.0);
}

namespace {
// Half the height that the lens sees at the far plane.
double half_height(const perspective& lens) {
    return lens.zfar * std::tan(lens.fov / 2.0) / std::sqrt(lens.aspect * lens.aspect + 1.0);
}
} // namespace

projection to_projection(const perspective& lens) {
    const double h = half_height(lens);
    const double top = h * (lens.znear / lens.zfar);
    const double right = lens.aspect * h * (lens.znear / lens.zfar);
    return {-right, right, -top, top, lens.znear, lens.zfar};
}

projection to_far_projection(const perspective& lens) {
    const double h = half_height(lens);
    return {-lens.aspect * h, lens.aspect * h, -h, h, lens.znear, lens.zfar};
}

mtx3w perspective_matrix(const projection& p) {
    const double width = p.right - p.left, height = p.top - p.bottom, depth = p.zfar - p.znear;
    mtx3w m = {};
    m[0] = float(2.0 * p.znear / width);
    m[5] = float(2.0 * p.znear / height);
    m[8] = float((p.right + p.left) / width);
    m[9] = float((p.top + p.bottom) / height);
    m[10] = float(-(p.zfar + p.znear) / depth);
    m[11] = -1.0f;
    m[14] = float(-2.0 * p.zfar * p.znear / depth);
    return m;
}

mtx3w inverse_perspective_matrix(const projection& p) {
    const double twice_near = 2.0 * p.znear, twice_product = 2.0 * p.zfar * p.znear;
    mtx3w m = {};
    m[0] = float((p.right - p.left) / twice_near);
    m[5] = float((p.top - p.bottom) / twice_near);
    m[11] = float(-(p.zfar - p.znear) / twice_product);
    m[12] = float((p.right + p.left) / twice_near);
    m[13] = float((p.top + p.bottom) / twice_near);
    m[14] = -1.0f;
    m[15] = float((p.zfar + p.znear) / twice_product);
    return m;
}

mtx3w orthographic_matrix(const projection& p) {
    const double width = p.right - p.left, height = p.top - p.bottom, depth = p.zfar - p.znear;
    mtx3w m = {};
    m[0] = float(2.0 / width);
    m[5] = float(2.0 / height);
    m[10] = float(-2.0 / depth);
    m[12] = float(-(p.right + p.left) / width);
    m[13] = float(-(p.top + p.bottom) / height);
    m[14] = float(-(p.zfar + p.znear) / depth);
    m[15] = 1.0f;
    return m;
}

mtx3w inverse_orthographic_matrix(const projection& p) {
    mtx3w m = {};
    m[0] = float((p.right - p.left) / 2.0);
    m[5] = float((p.top - p.bottom) / 2.0);
    m[10] = float(-(p.zfar - p.znear) / 2.0);
    m[12] = float((p.right + p.left) / 2.0);
    m[13] = float((p.top + p.bottom) / 2.0);
    m[14] = float(-(p.zfar + p.znear) / 2.0);
    m[15] = 1.0f;
    return m;
}

} // namespace render
