#pragma once
// Pictures: pixels in shared storage, with their size, layout and format.

#include "libgr/image/descriptor.h"
#include "libutils/ofsvector.h"
#include "libutils/refvector.h"

#include <cstdint>
#include <memory>

namespace libgr {

// The bytes of a picture: a view into a mapping of memory or of the file itself. Never write through one that
// came from a file.
using pixel_bytes = libutils::ofsvector<unsigned char, libutils::alloc_mmap_win>;

// How rows lie in storage, for pictures that do not follow the rule of 4-aligned rows.
struct pixel_store {
    std::uint32_t swap_bytes = 0; // not 0: samples are in the opposite byte order
    std::uint32_t alignment = 4;  // every row begins at a multiple of so many bytes
};

// Colours by number, 16 bits a channel.
struct color_table {
    using channel = libutils::refvector<unsigned short, libutils::alloc_new>;

    std::uint64_t count = 0;
    channel red, green, blue;

    // Takes `entries` black colours of its own. False, the table then empty, when there is no memory.
    bool allocate(std::uint64_t entries);
    // Sets a colour from 8-bit channels.
    void set(std::uint64_t index, unsigned char r, unsigned char g, unsigned char b);
    bool all_grey() const;
};

// What pictures of one, two and three dimensions have in common. Copies share the pixels and the colour
// table: a copy costs nothing, and a change to one's pixels is a change to all.
//
// A row takes the bits of its pixels rounded up to whole bytes and then to the alignment. In front of the
// picture lie skip_rows rows and in each row skip_pixels pixels that do not belong to it. Rows go bottom-up:
// the first one in storage is the bottom of the picture.
struct image_record {
    pixel_bytes pixels;
    pixel_descriptor descriptor;
    std::shared_ptr<const pixel_store> store; // null: rows are 4-aligned
    std::uint32_t row_length = 0;             // pixels from row to row; 0: the width
    std::uint32_t skip_pixels = 0;
    std::uint32_t skip_rows = 0;
    std::uint8_t topdown = 0;    // rows go top-down; no reader makes such
    std::uint8_t compressed = 0; // the bytes are a compressed texture, not pixels
    color_table colors;          // of pictures whose samples are numbers of colours

    // Copies pixels that lie in a mapped file into memory, which closes the file: on Windows nobody else can
    // open it before. False, and nothing changed, when there is no memory, or when the file has been cut
    // short since it was opened.
    bool leave_file();

protected:
    std::uint64_t stride_of(std::uint32_t width) const;
    bool allocate_rows(std::uint32_t width, std::uint64_t rows);
};

// Each picture type: stride() is the bytes from one row to the next; allocate() takes fresh zeroed storage
// for the size and descriptor that are set (false when there is none, or none of that size can be), of which
// untouched pages cost nothing; pixel() is the address of a pixel's first byte, unchecked.

struct image1d : image_record {
    std::uint32_t width = 0;

    std::uint64_t stride() const { return stride_of(width); }
    bool allocate() { return allocate_rows(width, std::uint64_t(skip_rows) + 1); }
    const unsigned char* pixel(std::uint32_t x) const;
    unsigned char* pixel(std::uint32_t x);
};

struct image2d : image_record {
    std::uint32_t width = 0;
    std::uint32_t height = 0;

    std::uint64_t stride() const { return stride_of(width); }
    bool allocate() { return allocate_rows(width, std::uint64_t(skip_rows) + height); }
    const unsigned char* pixel(std::uint32_t x, std::uint32_t y) const;
    unsigned char* pixel(std::uint32_t x, std::uint32_t y);
    // The first pixel of row y, counted from the bottom.
    const unsigned char* row(std::uint32_t y) const { return pixel(0, y); }
    unsigned char* row(std::uint32_t y) { return pixel(0, y); }
    // Whether storage of this size and layout is there.
    bool holds_pixels() const;
};

// A stack of pictures, each of (skip_rows + height) rows.
struct image3d : image_record {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t depth = 0;

    std::uint64_t stride() const { return stride_of(width); }
    bool allocate();
    const unsigned char* pixel(std::uint32_t x, std::uint32_t y, std::uint32_t z) const;
    unsigned char* pixel(std::uint32_t x, std::uint32_t y, std::uint32_t z);
};

} // namespace libgr
