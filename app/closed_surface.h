#pragma once
// Whether a surface can be seen from one side only.

#include "pmt3d/surface/polygon.h"

namespace quenvarel {

// True when the triangles enclose a volume and all wind counter-clockwise seen from outside, so that the GL
// may leave out those that are turned away. Vertices in the same place count as one. Takes time in proportion
// to the triangles and no memory; that every edge is run along as often one way as the other is told by a
// 64-bit checksum.
bool is_closed(const pmt3d::polygon_t& surface);

} // namespace quenvarel
