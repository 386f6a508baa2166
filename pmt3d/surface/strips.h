#pragma once
// Enumerates the triangles of an index list of strips.

#include <cstdint>
#include <span>

namespace pmt3d {

// A vertex index of a triangle strip. One that is not below the vertex count ends the strip.
using element_t = std::uint32_t;

// Written to end a strip; also the GL's restart index.
inline constexpr element_t strip_end = 0xFFFFFFFF;

// A strip 0, 1, 2, 3 is the triangles (0, 1, 2) and (2, 1, 3): every second one has its first two indices
// swapped, so that all wind the same way. Calls visit(first, odd, a, b, c) for each triangle in order;
// `first` is the position in `elements` of its first index, `odd` is true where the two were swapped.
template <class Visit>
void for_each_triangle(std::span<const element_t> elements, std::uint64_t vertex_count, Visit&& visit) {
    std::uint64_t length = 0;
    for (std::uint64_t at = 0; at < elements.size(); ++at) {
        if (elements[at] >= vertex_count) {
            length = 0;
            continue;
        }
        if (++length < 3) continue;
        if (length % 2 != 0)
            visit(at - 2, false, elements[at - 2], elements[at - 1], elements[at]);
        else
            visit(at - 2, true, elements[at - 1], elements[at - 2], elements[at]);
    }
}

} // namespace pmt3d
