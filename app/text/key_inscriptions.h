#pragma once
// What is written on the keys.

#include "app/announcement_options.h"

#include <array>
#include <cstddef>
#include <span>
#include <string>

namespace quenvarel {

// A key of the keyboard that plays, with its offset from the note base and what it types.
struct typed_key {
    int offset;
    char32_t character;
};

// From the player's end: a small line on every C, the key's own line, and another where it has two.
struct inscription {
    std::u32string octave, main, second;

    bool empty() const { return octave.empty() && main.empty(); }
    friend bool operator==(const inscription&, const inscription&) = default;
};
using key_inscriptions = std::array<inscription, 128>; // by note

// Of two keys that play the same note the later one is the main one.
key_inscriptions inscribe(label_choice choice, int notebase, std::span<const typed_key> typed);

// The keys of the key map, lower manual first, with the characters that it knows.
std::span<const typed_key> typed_characters();

constexpr bool is_black(int note) {
    return (0b010101001010 >> note % 12 & 1) != 0;
}
// Such as C♯4; middle C, which is note 60, is C4.
std::u32string note_name(int note);

} // namespace quenvarel
