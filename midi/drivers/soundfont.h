#pragma once
// Finds the SoundFont, which holds the samples of the instruments.

#include <filesystem>
#include <string>
#include <vector>

namespace midi {

// The SoundFont to use: from the first directory that has one. The default General MIDI SoundFont comes
// first, then alphabetical order. Empty when there is none.
std::string find_soundfont(const std::vector<std::filesystem::path>& directories);
// From the program's own share directory, else from the system's directories.
std::string find_soundfont();

} // namespace midi
