#pragma once
// Fits a model into the room of one of the instrument's keys.

#include "movement.h"

#include <optional>

namespace tool {

inline constexpr double white_key_millimetres = 23.5; // the width of a real piano's, one unit of the keyboard

// The movement that scales the extent, alike in all directions, as far as the room of the note's key (0 to
// 127) lets it, sets it in the middle between the neighbours and at the player's end, and its top level with
// the tops of such keys. Keys turn about the x axis, behind the room. Nothing when there is neither width nor
// length.
std::optional<movement> fit_key(const extent& of, int note);

// Whether a model in a key's room reaches into that of a neighbour: black keys lie in cut-outs of the white
// ones.
bool touches_neighbours(const pmt3d::model_t& model, int note);

} // namespace tool
