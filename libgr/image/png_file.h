#pragma once
// PNG files, through libpng. (The name png.h is libpng's own.)
//
// Read: all of them, interlaced ones too. Nothing is converted but the byte order of 16-bit samples; pictures
// of colour numbers get the file's colours as their table, transparency beside the alpha channel is left out.
// Written: luminance, luminance with alpha, RGB and RGBA of the widths that PNG has, at libpng's default
// compression. Colour numbers are refused, because their colours are not written.

#include "libgr/image/image.h"
#include "libgr/image/read_options.h"

#include <string>

namespace libgr {

// Whether the library that runs is the one whose header this was built with; else the two versions are
// reported, and no PNG work must be done.
bool check_png_version(const char* header, const char* source);

// False, after one line on standard error, when the file cannot be opened or is not a whole PNG file.
bool load_png(image2d& image, const std::string& name, const read_options& options = {});
// `title`, when not empty, is stored as the text "Title". False, after one line, when the picture is of
// another kind or the file cannot be saved, which then is as it was.
bool save_png(const image2d& image, const std::string& name, const std::string& title = {});

} // namespace libgr
