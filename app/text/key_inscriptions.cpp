#include "app/text/key_inscriptions.h"

#include "app/key_map.h"
#include "app/text/font.h"

#include <cstdlib>
#include <utility>
#include <vector>

namespace quenvarel {

namespace {

constexpr std::u32string_view letters = U"CCDDEFFGGAAB";

std::u32string octave_of(int note) {
    const int octave = note / 12 - 1;
    const std::u32string digit(1, U'0' + char32_t(std::abs(octave)));
    return octave < 0 ? U'\u2212' + digit : digit;
}

} // namespace

std::u32string note_name(int note) {
    const char32_t letter = letters[std::size_t(note % 12)];
    return std::u32string(1, letter) + (is_black(note) ? U"♯" : U"") + octave_of(note);
}

key_inscriptions inscribe(label_choice choice, int notebase, std::span<const typed_key> typed) {
    key_inscriptions made;
    if (choice == label_choice::off) return made;
    for (int note = 0; note < 128; ++note) {
        inscription& key = made[std::size_t(note)];
        const bool names_notes = choice == label_choice::notes;
        if (note % 12 == 0) key.octave = names_notes ? octave_of(note) : note_name(note);
        if (!names_notes) continue;
        // A black key is too narrow for both side by side.
        (is_black(note) ? key.second : key.main) = std::u32string(1, letters[std::size_t(note % 12)]);
        if (is_black(note)) key.main = std::u32string(1, U'♯');
    }
    if (choice == label_choice::notes) return made;
    for (const auto& [offset, character] : typed) {
        inscription& key = made[std::size_t(notebase + offset) & 127];
        key.second = std::exchange(key.main, std::u32string(1, character));
    }
    return made;
}

std::span<const typed_key> typed_characters() {
    static const auto all = [] {
        std::vector<typed_key> keys;
        for (const key_assignment& key : key_assignments)
            if (key.value >= 0) keys.push_back({key.value, key.character});
        return keys;
    }();
    return all;
}

} // namespace quenvarel
