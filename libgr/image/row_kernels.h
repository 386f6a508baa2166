#pragma once
// The inner loops of the picture operations, each over one row of 8-bit samples. Private to libgr/image and
// its tests.

#include <cstddef>

namespace libgr::row_kernels {

// `pixels` counts the written pixels. Rows may begin at any address; none overlaps another.
struct set {
    // Truncated red * 0.299 + green * 0.587 + blue * 0.114 in single precision, from RGB.
    void (*grey)(unsigned char* to, const unsigned char* rgb, std::size_t pixels);

    // Truncated means of four samples of two source rows. Which samples make a pixel differs with the
    // format: of luminance, x and x + 1 of each row; of three channels, pixels 2x and 2x + 1; of four
    // channels, the bytes at 8x + c and 8x + 3 + c. The source rows have at least 2 * pixels pixels.
    void (*halve_luminance)(unsigned char* to, const unsigned char* a, const unsigned char* b,
                            std::size_t pixels);
    void (*halve_3)(unsigned char* to, const unsigned char* a, const unsigned char* b, std::size_t pixels);
    void (*halve_4)(unsigned char* to, const unsigned char* a, const unsigned char* b, std::size_t pixels);

    // Normals (normal.h) of a row of heights below another one, as signed bytes; the last pixel's neighbour
    // to the right is the first one.
    void (*normals)(unsigned char* to, const unsigned char* here, const unsigned char* above,
                    std::size_t pixels);
};

// One sample after the other; runs everywhere.
extern const set plain;

// What this processor does fastest, with the same results to the bit.
const set& best();

} // namespace libgr::row_kernels
