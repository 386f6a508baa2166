#pragma once
// Reads and writes Truevision files.
//
// Read: uncompressed, bottom-up; true colour of 16 bits (BGRA 1-5-5-5), 24 bits (BGR) and 32 bits (BGRA), 8
// bits of luminance, and 8-bit numbers of colours. Colours that are all grey give luminance, as 8 bits
// without colours do; others give colour numbers with their table. Written: luminance, RGB, BGR, RGBA and
// BGRA of 8-bit samples, and BGRA 1-5-5-5. Luminance is written as numbers of 256 greys, which every reader
// understands.

#include "libgr/image/image.h"
#include "libgr/image/read_options.h"

#include <string>

namespace libgr {

// False, after one line on standard error, when the file is not such a picture, or not a whole one.
bool load_tga(image2d& image, const std::string& name, const read_options& options = {});
// False, after one line, for other kinds of pictures and when the file cannot be saved; an existing file is
// then unchanged.
bool save_tga(const image2d& image, const std::string& name);

} // namespace libgr
