#pragma once
// Measures triangles: what they enclose, and where their surface is not whole.

#include "pmt3d/surface/polygon.h"

#include <cstdint>
#include <span>

namespace tool {

struct mesh_figures {
    std::uint64_t triangles = 0;
    std::uint64_t not_finite = 0;    // with a corner that is no number; these count nowhere else
    std::uint64_t degenerate = 0;    // with two corners in one place; these have no edges
    std::uint64_t open_edges = 0;    // of one triangle
    std::uint64_t crowded_edges = 0; // of more than two
    // Triangles that wind against their neighbours: of those that hang together by edges of two triangles,
    // the fewest that would have to be turned over.
    std::uint64_t flipped = 0;
    double area = 0.0;
    // Of tetrahedra between the triangles and the first corner of all: positive for those that are
    // counter-clockwise from outside. Without open edges that is what the surface encloses.
    double volume = 0.0;
};

// Of all surfaces together: their corners are the same where they are in the same place.
mesh_figures measure(std::span<const pmt3d::polygon_t* const> surfaces);

} // namespace tool
