#pragma once
// Limits the vertices of a file's NURBS surfaces.

#include "pmt3d/surface/nurbs.h"

#include <algorithm>
#include <cstdint>

namespace pmt3d {

// A resolution is two numbers, so a few bytes could ask for all memory there is. The surfaces of a file
// may have 2^21 vertices together, some 280 MB, and four more for every byte of the file: nets of 16 by 16
// points with grids of 257 by 257 need no more. Whoever loads the file may allow more; a single surface never
// has more than nurbs_t::most_vertices, 2^26.
class vertex_limit {
public:
    vertex_limit(std::uint64_t file_bytes, std::uint64_t allowed)
        : most_(std::max((std::uint64_t(1) << 21) + 4 * file_bytes, allowed)) {}

    std::uint64_t most() const { return most_; }
    std::uint64_t taken() const { return taken_; }
    std::uint64_t left() const { return std::min(most_ - taken_, nurbs_t::most_vertices); }
    // Not more than there are left.
    void take(std::uint64_t vertices) { taken_ += vertices; }

private:
    std::uint64_t most_, taken_ = 0;
};

} // namespace pmt3d
