#pragma once
// Operations on the pixels of a picture. Each makes a new picture and does not change its source; both may be
// the same object. False, after one line on standard error, for a source of another kind.

#include "libgr/image/image.h"

namespace libgr {

// A height map out of a colour picture: 8-bit unsigned RGB becomes 8-bit luminance, red * 0.299 +
// green * 0.587 + blue * 0.114 in single precision, truncated.
bool rgb2grey(image2d& made, const image2d& source);

// Surface normals out of an 8-bit unsigned luminance picture of heights: RGB of signed bytes, 127 being 1. A
// height of 255 is one pixel's width. The normal at a pixel follows the differences to the next pixel to the
// right and to the next one above, around the edges; a height that rises to the right makes red positive, one
// that rises upwards green. A flat map is (0, 0, 127) everywhere. An RGB picture of bytes is a
// finished normal map: `made` shares it, and the result is true. Any other picture is shared as well, but the
// result is false, so that a caller can go on with it.
bool normalmap(image2d& made, const image2d& source);

// A picture of half the width and height, an odd last column and row dropped, for 8-bit samples. Which four
// samples a pixel is the truncated mean of differs with the format, see row_kernels.h: luminance keeps the
// left half of the picture, four channels mix with their neighbours.
bool scaledown(image2d& made, const image2d& source);

// Colours for numbers: a picture of 1, 2, 4 or 8-bit colour numbers becomes 8-bit RGB, or with `greys`, for a
// table of nothing else, 8-bit luminance. Numbers without a colour are black.
bool expand_color_index(image2d& made, const image2d& source, bool greys = false);

} // namespace libgr
