#pragma once
// The one thing in a camera's notes that a turned picture makes wrong. Private to libgr/image.

#include "libgr/image/image.h"

#include <cstdint>

namespace libgr {

// Sets the picture's size in the data of an Exif marker, in place, where the marker states it. What is not
// understood stays as it is. The orientation is left alone: it tells how the stored picture is to be shown,
// and a picture that was turned is to be shown turned.
void set_exif_size(pixel_bytes& marker, std::uint32_t width, std::uint32_t height);

} // namespace libgr
