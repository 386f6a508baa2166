#pragma once
// Fills a polygon surface with separate triangles, such as those of an STL file.

#include "pmt3d/surface/polygon.h"

#include <cstdint>

namespace pmt3d {

// Gives every triangle three vertices of the default colour, a strip of its own, and to all three vertices
// one frame: with E1, E2 the directions from its first corner to the second and third, normal N =
// normalise(E1 x E2), tangent E2 and binormal E2 x N. A direction without length is (0, 0, 0).
class facet_filler {
public:
    explicit facet_filler(polygon_t& polygon) : polygon_(polygon) {}
    ~facet_filler() { flush(); }
    facet_filler(const facet_filler&) = delete;
    facet_filler& operator=(const facet_filler&) = delete;

    // Sizes the surface. False, reported, when there is no room.
    bool allocate(std::uint64_t facets);
    // At most as many as were allocated. The surface has all of them once the filler is destroyed.
    void add(const render::pos3 (&corners)[3]) {
        for (int corner = 0; corner < 3; ++corner)
            corners_[count_][corner] = corners[corner];
        if (++count_ == block) flush();
    }

private:
    static constexpr int block = 16; // facets that are computed side by side
    void flush();

    polygon_t& polygon_;
    vertex_t* vertex_ = nullptr;
    frame_t* frame_ = nullptr;
    element_t* element_ = nullptr;
    element_t next_ = 0;
    render::pos3 corners_[block][3] = {};
    int count_ = 0;
};

} // namespace pmt3d
