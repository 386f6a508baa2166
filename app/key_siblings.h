#pragma once
// Which characters one key of the keyboard gives. A window reports releases as characters too, and a key that
// went down as 'a' comes up as 'A' when Shift was pressed in between.

#include <array>
#include <bitset>

namespace gems {

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

} // namespace gems
