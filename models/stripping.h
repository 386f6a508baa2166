#pragma once
// From triangles to the strips that surfaces are made of.

#include "pmt3d/surface/strips.h"

#include <array>
#include <span>
#include <vector>

namespace models {

using triangle = std::array<pmt3d::element_t, 3>;

// The same triangles, each with its winding, as an index list of strips with pmt3d::strip_end between them
// and none at the end. Strips come in the order of their earliest triangles. A directed edge may belong to
// one triangle only.
std::vector<pmt3d::element_t> make_strips(std::span<const triangle> triangles);

} // namespace models
