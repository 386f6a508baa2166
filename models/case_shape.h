#pragma once
// The piano in which the keys lie: what the player sees of it, in the space that key_layout.h measures.

#include "pmt3d/format/model.h"
#include "render/math/types.h"

#include <string>

namespace models {

// The pictures that the case wears.
struct case_pictures {
    std::string plain; // white
    std::string body;  // of the case itself
    std::string lacquer_highlight, no_highlight, brass_highlight;
    std::string name;   // of the instrument; empty: there is none
    std::string studio; // of the cube map
};

// What a case is made of.
struct case_style {
    render::col3 body;   // multiplies the picture
    render::col3 front;  // of the fallboard, which wears none
    float body_factor;   // refractive index outside over inside
    float mirror_factor; // the same for the front of the fallboard
    render::col3 felt;
};
inline constexpr case_style lacquered = {
    {0.030f, 0.030f, 0.034f}, {0.030f, 0.030f, 0.034f}, 1 / 1.56f, 1 / 2.1f, {1.0f, 0.25f, 0.25f}};
inline constexpr case_style wooden = {
    {1.0f, 1.0f, 1.0f}, {0.30f, 0.165f, 0.09f}, 1 / 1.25f, 1 / 1.45f, {0.18f, 0.42f, 0.24f}};

// Width over height of the picture of the name.
inline constexpr float name_aspect = 4.8f;

// Curved parts are NURBS surfaces, each closed and wound counter-clockwise seen from outside; the front of
// the fallboard, which mirrors, and the name are polygons. False when there is no room.
bool make_case(pmt3d::model_t& model, const case_pictures& pictures, const case_style& style);

} // namespace models
