#pragma once
// Finds the surface under a pixel by clipping its triangles against the planes around that pixel.

#include "pmt3d/surface/polygon.h"
#include "render/math/types.h"

#include <array>
#include <optional>
#include <span>
#include <vector>

namespace quenvarel {

// Four planes in eye space; a point is between them where a x + b y + c z + d >= 0 for each.
using side_planes = std::array<render::surface, 4>;

// The planes around one pixel of a picture of that size; y is counted from the bottom. The pixel reaches half
// a unit to each side of its number. With a perspective projection nothing behind the eye is between them.
side_planes planes_around_pixel(int x, int y, int width, int height, const render::mtx3w& projection);

// Clips a convex polygon: what lies on the negative side of the plane goes. `polygon` is empty when nothing
// is left. Corners that are NaN lie outside.
void clip(std::vector<render::pos3>& polygon, const render::surface& plane);

// The nearest point of a surface between the planes, as its distance from the eye along the line of sight;
// nothing when no part of it is there. `bounds`: what getbound() gives for the surface; `model`: from the
// surface to eye space.
std::optional<float> nearest_between(const side_planes& planes, const pmt3d::polygon_t& surface,
                                     const render::box3& bounds, const render::mtx3w& model);

} // namespace quenvarel
