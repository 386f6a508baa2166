#pragma once
// Picture files as the subcommands read and write them.

#include "libgr/image/autoformat.h"

#include <string>

namespace tool {

// The format that a name's ending says. Unlike the library's, which models go by, the tool's JPEG files may
// have four letters.
libgr::file_format format_of(const std::string& name);

// Reads a picture as its author means it, into memory.
bool load_picture(libgr::image2d& image, const std::string& name, libgr::read_options options = {});

// Saves in the format that the name's ending says. Where that costs nothing, the picture is first brought
// into a form that the format takes: channels change their order and samples become wider. What would lose
// alpha, colours or precision is refused, with a line on standard error.
bool save_picture(libgr::image2d& image, const std::string& name);

} // namespace tool
