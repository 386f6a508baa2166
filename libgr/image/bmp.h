#pragma once
// Reads and writes Windows bitmaps.
//
// Read: uncompressed bottom-up files of 1, 4 and 8 bits (colour numbers, or luminance without a colour
// table), 24 bits (BGR) and 32 bits (BGRA), with an information header of 40 bytes or one of its extensions.
// Pixels are not copied: the picture is a view into the mapped file. Written: luminance of 1, 4 and 8 bits,
// with or without a table of its greys, and BGR of 8-bit samples.

#include "libgr/image/image.h"
#include "libgr/image/read_options.h"

#include <cstdint>
#include <string>

namespace libgr {

// The platform's own structures, with their own names.
// NOLINTBEGIN(readability-identifier-naming)
#pragma pack(push, 1)
struct tagBITMAPFILEHEADER {
    std::uint16_t bfType;
    std::uint32_t bfSize;
    std::uint16_t bfReserved1;
    std::uint16_t bfReserved2;
    std::uint32_t bfOffBits;
};
struct tagBITMAPINFOHEADER {
    std::uint32_t biSize;
    std::int32_t biWidth;
    std::int32_t biHeight;
    std::uint16_t biPlanes;
    std::uint16_t biBitCount;
    std::uint32_t biCompression;
    std::uint32_t biSizeImage;
    std::int32_t biXPelsPerMeter;
    std::int32_t biYPelsPerMeter;
    std::uint32_t biClrUsed;
    std::uint32_t biClrImportant;
};
struct tagRGBQUAD {
    std::uint8_t rgbBlue;
    std::uint8_t rgbGreen;
    std::uint8_t rgbRed;
    std::uint8_t rgbReserved;
};
#pragma pack(pop)
// NOLINTEND(readability-identifier-naming)

// A mapped bitmap file: four views of one mapping, all inside it. Numbers are as in the file.
struct bmp_file {
    template <class T>
    using view = libutils::ofsvector<T, libutils::alloc_mmap_win>;

    view<tagBITMAPFILEHEADER> file_header;
    view<tagBITMAPINFOHEADER> info_header;
    view<tagRGBQUAD> palette; // as many entries as fit between the headers and the pixels
    pixel_bytes pixels;       // from the first one to the file's end

    // False, after one line, for a file that cannot be mapped or whose headers lead outside it.
    bool load(const std::string& name);
};

// False, after one line on standard error, when the file is not such a bitmap, or not a whole one.
bool load_bmp(image2d& image, const std::string& name, const read_options& options = {});
// Other programs need the table of greys; with it, luminance is read back as colour numbers. False, after one
// line, for other kinds of pictures and when the file cannot be saved; an existing file is then unchanged.
bool save_bmp(const image2d& image, const std::string& name, bool with_greys = false);

} // namespace libgr
