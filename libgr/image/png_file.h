#pragma once
// Reads and writes PNG files with libpng. (The name png.h is libpng's own.)
//
// Read: every kind, interlaced or not. Only the byte order of 16-bit samples is converted. Pictures of colour
// numbers get the file's palette as their colour table. Transparency outside an alpha channel is ignored.
// Written: luminance, luminance with alpha, RGB and RGBA of the widths that PNG has, at libpng's default
// compression. Colour numbers are refused, because their colours are not written.

#include "libgr/image/image.h"
#include "libgr/image/read_options.h"

#include <string>

namespace libgr {

// Whether the library at run time has the version of the header at build time. If not, both versions are
// reported, and no PNG file may be read or written.
bool check_png_version(const char* header, const char* source);

// False, after one line on standard error, when the file cannot be opened or is not a whole PNG file.
bool load_png(image2d& image, const std::string& name, const read_options& options = {});
// A title is stored as the text "Title". False, after one line, for other kinds of pictures and when the file
// cannot be saved; an existing file is then unchanged.
bool save_png(const image2d& image, const std::string& name, const std::string& title = {});

} // namespace libgr
