#pragma once
// Where the 128 keys lie. One unit is the width of one white key; 75 white keys make the keyboard 75 units
// wide, centred on x = 0. z runs from the hinge (0) toward the player, y up from the tops of the white keys
// (0). What is seen of the keys begins in front of the hinge, so that the short black ones go down far enough
// too.

namespace models {

inline constexpr int key_count = 128;
inline constexpr int white_key_count = 75;

inline constexpr float key_back = 3.0f; // z of their far ends
inline constexpr float white_length = 6.4f;
inline constexpr float black_length = 4.2f;
inline constexpr float black_height = 0.5f; // of their tops over those of the white ones
// Black keys lie in slots of this width, cut out of the white keys.
inline constexpr float black_slot = 0.583f;
// The gaps between keys are within these measures: half of one on either side of each key.
inline constexpr float white_gap = 0.065f;
inline constexpr float black_gap = 0.050f;

// The room of one key, its share of the gaps included.
struct key_place {
    bool black;
    float left, right;           // at the player's end
    float tail_left, tail_right; // white keys: between the black ones; black keys: the same as left and right
};

// note: 0 to 127, 0 being a C. As on a real piano the black keys are not centred on the lines between white
// keys: C, D and E have tails of one width and F, G, A and B of another. The last key, a G, has no black
// neighbour on its right and no cut-out there.
key_place place_of(int note);

} // namespace models
