#pragma once
// What the subcommands that write pictures have in common.

#include "libgr/image/image.h"

#include <string>

namespace tool {

// Saves in the format that the name's ending says. Where that costs nothing, the picture is first brought
// into a form that the format takes: channels change their order and samples become wider. What would lose
// alpha, colours or precision is refused, with a line on standard error.
bool save_picture(libgr::image2d& image, const std::string& name);

} // namespace tool
