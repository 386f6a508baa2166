#pragma once
// Tells whether only the outside of a surface can be seen.

#include "libgr/texture/surface_texture.h"
#include "pmt3d/surface/polygon.h"

namespace quenvarel {

// Whether nothing shows through the surface as this opened texture dresses it: neither its vertices nor its
// colour picture have an alpha.
bool is_opaque(const pmt3d::polygon_t& surface, const libgr::texture_t& texture);

// True when the triangles enclose a volume and all wind counter-clockwise seen from outside, so that the GL
// may leave out those that are turned away. Vertices in the same place count as one. Needs no memory and time
// in proportion to the triangles: a 64-bit checksum verifies that each edge occurs equally often in both
// directions.
bool is_closed(const pmt3d::polygon_t& surface);

} // namespace quenvarel
