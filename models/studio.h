#pragma once
// The light in which the instrument stands, as six pictures that shiny surfaces reflect.

#include "models/materials.h"

#include <array>

namespace models {

// The faces of a cube map, from +x to -z, each with its top row last. A soft studio: walls that darken toward
// the floor and the ceiling, a wide lamp above the case and one to the left behind the player.
std::array<picture, 6> make_studio();

} // namespace models
