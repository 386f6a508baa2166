#pragma once
// Computes the frames of a tessellated surface from the steps between its vertices.

#include "pmt3d/surface/polygon.h"

#include <functional>
#include <span>

namespace pmt3d {

// Computes a surface's normals() from its wknmls(). The caller who loads a NURBS surface provides it.
using frame_update = std::function<void(polygon_t&)>;

// For every vertex, with T the forward and T' the backward steps:
//   normal = normalise(Tu x Tv + T'u x T'v), tangent = normalise(Tu + T'u), binormal = normal x tangent,
// where the normalised zero vector is the zero vector. Both spans have the same size.
void average_frames(std::span<const differences_t> steps, std::span<frame_t> frames);

// The same for a surface, on the CPU.
void average_frames(polygon_t& surface);

} // namespace pmt3d
