#pragma once
// The records of a surface's arrays, laid out as in the GL's buffers.

#include "render/math/types.h"

namespace pmt3d {

struct vertex_t {
    render::pos3 position;
    render::col3a color; // 0..1
    render::txc2 texcoord;
};

// The tangent space of a vertex: the texture's u direction, the direction across it, and the surface's
// normal.
struct frame_t {
    render::dir3 tangent, binormal, normal;
};

// The steps from a vertex of a grid to its neighbours (forward) and from its neighbours to it (backward),
// from which the frame pass computes a frame. The order is that of the shader's Tangent, BiNormal, Tangent2,
// BiNormal2.
struct differences_t {
    render::dir3 forward_u, forward_v, backward_u, backward_v;
};

static_assert(sizeof(vertex_t) == 9 * sizeof(float) && sizeof(frame_t) == 9 * sizeof(float) &&
              sizeof(differences_t) == 12 * sizeof(float));

} // namespace pmt3d
