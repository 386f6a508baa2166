#pragma once
// Finds the SoundFonts that the synthesizer may play, and tells good ones from others without loading them.

#include "midi/soundfont.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

namespace midi {

// What is known of a SoundFont before it is loaded.
struct soundfont_facts {
    bool is_general_midi;  // each of the 128 programs, and a drum kit
    bool is_compressed;    // must be unpacked, which takes seconds
    std::uint64_t samples; // bytes in memory; of a compressed one, about that
};
// Nothing for a file that is no SoundFont, or that ends too early.
std::optional<soundfont_facts> read_soundfont_facts(const std::filesystem::path& file);
// Whether there is memory for it without pushing out other programs.
bool fits_into_memory(const soundfont_facts& facts);

// The order in which installed SoundFonts are tried. General MIDI sets come first: large ones, of these those
// that load at once before compressed ones, and the largest first; then small ones; then what is incomplete
// or huge. Each is there once, whatever links lead to it. Files that are no SoundFonts are left out.
std::vector<std::filesystem::path> ranked_soundfonts(const std::vector<std::filesystem::path>& directories);

// All that may be played, in the order in which they are tried: the preferred file, then those in
// the added directory and in the program's, readable or not, then those installed.
std::vector<std::filesystem::path> soundfonts_to_try();

// Records what was loaded, and says so in one line on standard output.
void announce_soundfont(const std::filesystem::path& file);

} // namespace midi
