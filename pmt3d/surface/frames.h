#pragma once
// How the frames of a tessellated surface are computed from the steps between its vertices.

#include "pmt3d/surface/polygon.h"

#include <functional>
#include <span>

namespace pmt3d {

// Turns a surface's wknmls() into its normals(). Whoever loads a NURBS surface hands one over.
using frame_update = std::function<void(polygon_t&)>;

// For every vertex, with T the forward and T' the backward steps:
//   normal = normalise(Tu x Tv + T'u x T'v), tangent = normalise(Tu + T'u), binormal = normal x tangent,
// where the normalised zero vector is the zero vector. Both spans have the same size.
void average_frames(std::span<const differences_t> steps, std::span<frame_t> frames);

// The same for a surface, on the CPU.
void average_frames(polygon_t& surface);

} // namespace pmt3d
