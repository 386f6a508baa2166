#pragma once
// For whoever computes the six pictures of a cube map.

#include "render/math/types.h"

#include <algorithm>
#include <cstddef>

namespace render {

// The direction in which a point of a face is seen from the middle of the cube, of length 1 to sqrt(3). Faces
// are 0 to 5 as the GL orders them: +x, -x, +y, -y, +z, -z; s and t run from -1 to 1 along the face's rows
// and columns, as the GL lays its faces out.
inline dir3 cube_direction(std::size_t face, float s, float t) {
    switch (face) {
    case 0:
        return {1, -t, -s};
    case 1:
        return {-1, -t, s};
    case 2:
        return {s, 1, t};
    case 3:
        return {s, -1, -t};
    case 4:
        return {s, -t, 1};
    default:
        return {-s, -t, -1};
    }
}

// 0 at `from` and beyond, 1 at `to` and beyond, without a bend between them: the cubic 3t^2 - 2t^3. `from`
// may be the greater one; they differ.
inline float smooth_step(float from, float to, float x) {
    const float t = std::clamp((x - from) / (to - from), 0.0f, 1.0f);
    return t * t * (3 - 2 * t);
}

} // namespace render
