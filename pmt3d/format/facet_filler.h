#pragma once
// Fills a polygon surface with separate triangles, such as those of an STL file.

#include "pmt3d/surface/polygon.h"

#include <cstdint>
#include <optional>

namespace pmt3d {

// The arrays of a surface of separate triangles.
struct facet_arrays {
    vertex_t* vertices;  // three a facet
    frame_t* frames;     // three
    element_t* elements; // four

    // Sizes the surface and gives its arrays. Nothing, reported, when there is no room.
    static std::optional<facet_arrays> allocate(polygon_t& polygon, std::uint64_t facets);
    // Makes the facets from `first` up to `end` those of a fresh surface again.
    void clear(std::uint64_t first, std::uint64_t end) const;
};

// Gives every triangle three vertices of the default colour, a strip of its own, and to all three vertices
// one frame: with E1, E2 the directions from its first corner to the second and third, normal N =
// normalise(E1 x E2), tangent E2 and binormal E2 x N. A direction without length is (0, 0, 0). Several
// fillers may fill parts of the same arrays at once.
class facet_filler {
public:
    // Begins with that facet.
    facet_filler(const facet_arrays& arrays, std::uint64_t first);
    ~facet_filler() { flush(); }
    facet_filler(const facet_filler&) = delete;
    facet_filler& operator=(const facet_filler&) = delete;

    // At most as many as there is room for. The arrays have all of them once the filler is destroyed.
    void add(const render::pos3 (&corners)[3]) {
        for (int corner = 0; corner < 3; ++corner)
            corners_[count_][corner] = corners[corner];
        if (++count_ == block) flush();
    }

private:
    static constexpr int block = 16; // facets that are computed side by side
    void flush();

    vertex_t* vertex_;
    frame_t* frame_;
    element_t* element_;
    element_t next_;
    render::pos3 corners_[block][3] = {};
    int count_ = 0;
};

} // namespace pmt3d
