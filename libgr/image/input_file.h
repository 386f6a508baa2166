#pragma once
// Maps a picture file for its reader: whole and read only.

#include "libgr/image/image.h"

#include <string>

namespace libgr {

// Maps the file. False, after a line with its name, when there is none (": file stat failed.") or it cannot
// be mapped, as an empty one cannot (": file load failed.").
bool map_file(pixel_bytes& bytes, const std::string& name);

} // namespace libgr
