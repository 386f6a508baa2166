#pragma once
// Updates EXIF data after a picture has been turned. Private to libgr/image.

#include "libgr/image/image.h"

#include <cstdint>

namespace libgr {

// Sets the picture's size in the data of an Exif marker, in place, where the marker has one. Everything else
// stays, also the orientation: it says how to show the stored picture, and a turned one is shown turned.
void set_exif_size(pixel_bytes& marker, std::uint32_t width, std::uint32_t height);

} // namespace libgr
