#pragma once
// The piano in which the keys lie: what the player sees of it, in the space that key_layout.h measures.

#include "pmt3d/format/model.h"

#include <string>

namespace models {

// The pictures that the case wears.
struct case_pictures {
    std::string plain; // white
    std::string lacquer_highlight, no_highlight, brass_highlight;
    std::string name;   // of the instrument; empty: there is none
    std::string studio; // of the cube map
};

// Width over height of the picture of the name.
inline constexpr float name_aspect = 4.8f;

// Curved parts are NURBS surfaces, each closed and wound counter-clockwise seen from outside; the front of
// the fallboard, which mirrors, and the name are polygons. False when there is no room.
bool make_case(pmt3d::model_t& model, const case_pictures& pictures);

} // namespace models
