#pragma once
// Which characters one key of the keyboard gives. A window reports releases as characters too, and a key that
// went down as 'a' comes up as 'A' when Shift was pressed in between.

#include <array>
#include <bitset>

namespace gems {

// Keys are numbered: a character, or this plus GLUT's code of a key without one.
constexpr unsigned first_special = 256;

using characters = std::bitset<256>;

// For every character the others that share a key with it.
using key_siblings = std::array<characters, 256>;

// What holds on every layout: the two cases of the letters from a to z.
inline const key_siblings& letter_cases() {
    static const key_siblings cases = [] {
        key_siblings siblings;
        for (unsigned lower = 'a'; lower <= 'z'; ++lower) {
            const unsigned upper = lower - 'a' + 'A';
            siblings[lower].set(upper);
            siblings[upper].set(lower);
        }
        return siblings;
    }();
    return cases;
}

// Whose key a character comes from depends on the modifiers: with Control, m gives what Return gives.
struct keyboard_layout {
    // By the modifiers that are down: 1 is Shift or Caps Lock, 2 is Control. For every character the others
    // on those keys that give it with these modifiers, whatever modifiers the others need.
    std::array<key_siblings, 4> siblings{letter_cases(), letter_cases(), letter_cases(), letter_cases()};
    unsigned modifiers = 0; // of the event at hand

    const key_siblings& now() const { return siblings[modifiers]; }
};

// When nothing is known about the keyboard.
inline const keyboard_layout& plain_layout() {
    static const keyboard_layout layout;
    return layout;
}

} // namespace gems
