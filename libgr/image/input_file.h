#pragma once
// A picture file as the readers take it: mapped, whole, read only.

#include "libgr/image/image.h"

#include <string>

namespace libgr {

// Maps the file. False, after a line with its name, when there is none (": file stat failed.") or it cannot
// be mapped, as an empty one cannot (": file load failed.").
bool map_file(pixel_bytes& bytes, const std::string& name);

} // namespace libgr
