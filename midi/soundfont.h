#pragma once
// Which SoundFont, the file with the samples of the instruments, the built-in synthesizer plays.

#include <string>

namespace midi {

// This file is tried before all others. False on a system without a built-in synthesizer.
bool prefer_soundfont(const std::string& file);
// The SoundFonts of this directory are tried before those of the program's directory and those installed.
void add_soundfont_directory(const std::string& directory);
// Whether the built-in synthesizer only needs a SoundFont to be there.
bool lacks_soundfont();
// The one that was loaded last, by its file's name without the extension; empty while there was none.
std::string soundfont_name();

} // namespace midi
