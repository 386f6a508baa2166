#pragma once
// The shape of one key: a closed solid with rounded edges, lit and shaded per vertex.

#include "render/math/types.h"

#include <cstdint>
#include <vector>

namespace models {

struct key_vertex {
    render::pos3 position;
    render::col3a color; // what surroundings take away from the light, 0 to 1, the same in r, g and b; a is 1
    render::txc2 texcoord;
    render::dir3 tangent, binormal, normal; // tangent along growing s, binormal along growing t
};

struct key_mesh {
    std::vector<key_vertex> vertices;
    std::vector<std::uint32_t> elements; // triangle strips, counter-clockwise seen from outside
};

// The key of a note (0 to 127) in its place on the keyboard, as key_layout.h measures it. All keys turn about
// the x axis.
key_mesh make_key(int note);

} // namespace models
