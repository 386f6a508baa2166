#pragma once
// From Assimp's materials to colours and looks.

#include "render/math/types.h"
#include "tools/pmt3d/import/look.h"

#include <assimp/scene.h>

namespace tool {

struct material {
    look dress;
    render::col3a color{1, 1, 1, 1}; // times the vertex colours
    bool plain = false;              // the file says nothing about colours
    bool linear = false;             // colours are amounts of light, not what a screen is told
    bool opaque = false;             // alpha counts as 1
    unsigned texcoords = 0;          // which set the pictures go by
};

// Whether all of a file's colours are linear is a matter of its format.
material material_of(const aiScene& scene, unsigned index, bool linear);

// What a screen is told for an amount of light, both 0 to 1.
float screen_value(float light);

} // namespace tool
