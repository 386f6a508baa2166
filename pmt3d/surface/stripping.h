#pragma once
// From triangles to the strips that surfaces are made of.

#include "pmt3d/surface/strips.h"

#include <array>
#include <span>
#include <vector>

namespace pmt3d {

using triangle = std::array<element_t, 3>;

// The same triangles, each with its winding, as an index list of strips with strip_end between them and none
// at the end. Strips come in the order of their earliest triangles. Takes time and memory in proportion to
// the triangles, whatever their shape: edges may belong to any number of them, and a triangle may name a
// vertex twice. At most 2^30 triangles; indices below `vertex_count`.
std::vector<element_t> make_strips(std::span<const triangle> triangles, element_t vertex_count);
std::vector<element_t> make_strips(std::span<const triangle> triangles); // the count is found

} // namespace pmt3d
