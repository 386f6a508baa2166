#pragma once
// Draws the control points of a NURBS surface.

#include "pmt3d/surface/nurbs.h"
#include "render/gl/array_buffer.h"
#include "render/gl/vertex_array.h"

#include <optional>

namespace pmt3d {

// Draws the points of MakeCtlpts() as GL_POINTS with attributes 0 Position, 1 Color, 2 PointSize; marked ones
// are larger. Needs a context, and does nothing without one.
class control_points_mirror {
public:
    // The surface must outlive the mirror.
    explicit control_points_mirror(const nurbs_t& surface) : surface_(surface) {}
    void draw_points();

private:
    const nurbs_t& surface_;
    render::array_buffer_t points_, marks_;
    render::vertex_array_t layout_;
    std::optional<revision_t> seen_points_, seen_marks_;
};

} // namespace pmt3d
