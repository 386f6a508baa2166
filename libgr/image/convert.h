#pragma once
// Converts pictures. Each function makes a new picture and does not change its source; both may be the same
// object. A picture that needs no conversion is shared. False, after one line on standard error, for
// conversions that are not provided.
//
// Samples keep their share of the full range: narrower ones are spread evenly (v * maximum / old maximum),
// wider ones are cut to their high bits.

#include "libgr/image/image.h"

#include <cstdint>

namespace libgr {

// Among luminance, luminance with alpha, RGB, RGBA, BGR and BGRA, of 8 or 16 bits a sample; colours do not
// become luminance. Alpha is dropped, or added as opaque. Refused with "not support format.".
bool convert_format(image2d& made, const image2d& source, std::uint32_t format);

// Between signed and unsigned integers: the bytes stay, only their meaning changes, and the pixels are
// shared. Refused with "not support image type.".
bool convert_type(image2d& made, const image2d& source, std::uint32_t type);

// From 1, 2, 4, 8 or 16 bits a sample, and from 1-5-5-5 pixels, to 8 or 16 bits. Refused with
// "not support image bits.".
bool convert_bits(image2d& made, const image2d& source, std::uint32_t bits);

// Whether a picture with alpha, of 8-bit samples or 1-5-5-5 pixels, has a pixel whose alpha is not zero.
bool shows_anything(const image2d& image);

// The colours of such a picture, as BGR of 8-bit samples.
bool drop_alpha(image2d& image);

// Writes row y as 8-bit RGB, 3 * width bytes, of any picture that the functions above can convert. False,
// with nothing written or reported, for others.
bool read_rgb_row(unsigned char* rgb, const image2d& image, std::uint32_t y);

} // namespace libgr
