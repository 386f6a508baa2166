#include "pmt3d/format/facet_filler.h"

#include <algorithm>
#include <cmath>

namespace pmt3d {

namespace {

// As many directions as a block has, component by component: loops over these become vector instructions,
// with the results of one direction at a time.
template <int N>
struct directions {
    float x[N], y[N], z[N];

    void normalise() {
        for (int i = 0; i < N; ++i) {
            const float length = std::sqrt(x[i] * x[i] + y[i] * y[i] + z[i] * z[i]);
            const float factor = 1.0f / length;
            const float nx = x[i] * factor, ny = y[i] * factor, nz = z[i] * factor;
            const bool none = length == 0.0f;
            x[i] = none ? 0.0f : nx;
            y[i] = none ? 0.0f : ny;
            z[i] = none ? 0.0f : nz;
        }
    }
    void cross(const directions& a, const directions& b) {
        for (int i = 0; i < N; ++i) {
            x[i] = a.y[i] * b.z[i] - a.z[i] * b.y[i];
            y[i] = a.z[i] * b.x[i] - a.x[i] * b.z[i];
            z[i] = a.x[i] * b.y[i] - a.y[i] * b.x[i];
        }
    }
    render::dir3 operator[](int i) const { return {x[i], y[i], z[i]}; }
};

} // namespace

std::optional<facet_arrays> facet_arrays::allocate(polygon_t& polygon, std::uint64_t facets) {
    if (!polygon.allocate(3 * facets, 4 * facets)) return {};
    return facet_arrays{polygon.edit_vertices().data(), polygon.edit_normals().data(),
                        polygon.edit_elements().data()};
}

void facet_arrays::clear(std::uint64_t first, std::uint64_t end) const {
    std::fill(vertices + 3 * first, vertices + 3 * end, vertex_t{});
    std::fill(frames + 3 * first, frames + 3 * end, frame_t{});
    std::fill(elements + 4 * first, elements + 4 * end, 0);
}

facet_filler::facet_filler(const facet_arrays& arrays, std::uint64_t first)
    : vertex_(arrays.vertices + 3 * first),
      frame_(arrays.frames + 3 * first),
      element_(arrays.elements + 4 * first),
      next_(element_t(3 * first)) {}

void facet_filler::flush() {
    directions<block> e1, e2, normal, binormal;
    for (int i = 0; i < block; ++i) {
        const render::pos3(&c)[3] = corners_[i];
        e1.x[i] = c[1].x - c[0].x;
        e1.y[i] = c[1].y - c[0].y;
        e1.z[i] = c[1].z - c[0].z;
        e2.x[i] = c[2].x - c[0].x;
        e2.y[i] = c[2].y - c[0].y;
        e2.z[i] = c[2].z - c[0].z;
    }
    e1.normalise();
    e2.normalise();
    normal.cross(e1, e2);
    normal.normalise();
    binormal.cross(e2, normal);
    for (int i = 0; i < count_; ++i) {
        const frame_t frame = {e2[i], binormal[i], normal[i]};
        for (const render::pos3& corner : corners_[i]) {
            *vertex_++ = {corner, {0.5f, 0.5f, 0.5f, 1.0f}, {0.0f, 0.0f}};
            *frame_++ = frame;
            *element_++ = next_++;
        }
        *element_++ = strip_end;
    }
    count_ = 0;
}

} // namespace pmt3d
