#pragma once
// The key textures: polished ivory and satin black. All tile in both directions. In the home view a texel is
// about a third of a pixel wide, so the textures need no mipmaps, which would take the software renderer
// longer than the rest of the start.

#include <cstdint>
#include <vector>

namespace models {

// 8 bits a channel, rows from the bottom up without padding.
struct picture {
    unsigned width, height;
    unsigned channels; // 1: grey, 3: red, green, blue
    std::vector<std::uint8_t> pixels;
};

struct material {
    picture color;
    picture bump;     // 3 channels: a normal, signed, 127 being 1. 1 channel: a height, 255 being 1
    picture specular; // the colour of the highlight
};

// A warm white with a faint grain along t, and a soft highlight that the grain breaks up a little.
material make_ivory();
// Nearly black, evenly and finely rough.
material make_satin_black();

// The colour of walnut; its grain runs along t.
picture make_walnut();

} // namespace models
