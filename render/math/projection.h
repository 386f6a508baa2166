#pragma once
// The camera: computes the extents of the view from the lens, and the OpenGL matrix from the extents. The
// camera looks along -z.

#include "render/math/types.h"

namespace render {

// Half the diagonal of a 36 by 24 mm frame, in mm.
inline constexpr double half_frame_diagonal = 21.633307652783937;

constexpr double aspect(double width, double height) {
    return width / height;
}
// Field of view (radians, across the diagonal) of a lens of f mm.
double field_of_view(double f);
// half_frame_diagonal tan(fov / 2). This is not the inverse of field_of_view, which would divide by the
// tangent.
double focal_length(double fov);

// Extents at the near plane.
projection to_projection(const perspective& lens);
// Extents at the far plane.
projection to_far_projection(const perspective& lens);
// Extents from -half_width to half_width and from -1 to 1.
constexpr projection make_projection(double half_width, double znear, double zfar) {
    return {-half_width, half_width, -1.0, 1.0, znear, zfar};
}

// Map the view volume to the cube from -1 to 1, and back. Computed in double precision.
mtx3w perspective_matrix(const projection& p);
mtx3w inverse_perspective_matrix(const projection& p);
mtx3w orthographic_matrix(const projection& p);
mtx3w inverse_orthographic_matrix(const projection& p);

} // namespace render
