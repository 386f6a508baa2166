#pragma once
// The files of the keyboard: a model for each key, and the textures that they share.

#include <string>

namespace models {

// Writes 0.pmt to 127.pmt and six pictures into a directory, which is made when it is missing. False, after a
// line on standard error, at the first file that cannot be written.
bool write_keyboard(const std::string& directory);

} // namespace models
