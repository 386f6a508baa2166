#pragma once
// Pictures and picture files made by the tests themselves.

#include "libgr/image/image.h"
#include "support/capture.h"

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace pictures {

// Noise. With skips the picture lies in larger storage, that many pixels from its left and lower edges.
inline libgr::image2d noise(std::uint32_t width, std::uint32_t height,
                            libgr::pixel_descriptor descriptor = {}, std::uint32_t skips = 0) {
    libgr::image2d image;
    image.descriptor = descriptor;
    image.width = width;
    image.height = height;
    image.skip_rows = image.skip_pixels = skips;
    image.row_length = skips ? width + skips : 0;
    if (!image.allocate()) return {};
    std::mt19937 random(width * 1000 + height);
    for (unsigned char& b : image.pixels)
        b = static_cast<unsigned char>(random());
    return image;
}

// The bytes of the pixels without padding, from the bottom up. The bits behind the last pixel of a row are 0.
inline std::vector<int> bytes(const libgr::image2d& image) {
    std::vector<int> all;
    const std::uint64_t bits = std::uint64_t(image.width) * bits_per_pixel(image.descriptor);
    for (std::uint32_t y = 0; y < image.height; ++y) {
        all.insert(all.end(), image.row(y), image.row(y) + (bits + 7) / 8);
        if (bits % 8) all.back() &= 0xFF00 >> bits % 8;
    }
    return all;
}

// What is written to standard error meanwhile.
template <class Work>
std::string said(const Work& work) {
    const test_support::capture err(std::cerr);
    work();
    return err.text();
}

// Numbers with the low bytes first.
inline std::string le(std::uint64_t value, int count) {
    std::string text;
    for (int i = 0; i < count; ++i, value >>= 8)
        text += char(value & 255);
    return text;
}

struct bmp {
    std::uint32_t offset = 54, info_bytes = 40, width = 2, height = 2;
    std::uint16_t bit_count = 24;
    std::uint32_t compression = 0;
    std::string between = {}; // headers and pixels
    std::string pixels = std::string(16, '\x55');

    std::string file() const {
        return "BM" + le(0, 4) + le(0, 4) + le(offset, 4) + le(info_bytes, 4) + le(width, 4) + le(height, 4) +
               le(1, 2) + le(bit_count, 2) + le(compression, 4) + le(0, 20) + between + pixels;
    }
};

struct tga {
    std::uint8_t map_type = 0, image_type = 2;
    std::uint16_t map_first = 0, map_length = 0;
    std::uint8_t map_entry_bits = 0;
    std::uint16_t width = 2, height = 2;
    std::uint8_t depth = 24, flags = 0;
    std::string id = {}, map = {};
    std::string pixels = "abcdefghijkl";

    std::string file() const {
        return le(id.size(), 1) + le(map_type, 1) + le(image_type, 1) + le(map_first, 2) + le(map_length, 2) +
               le(map_entry_bits, 1) + le(0, 4) + le(width, 2) + le(height, 2) + le(depth, 1) + le(flags, 1) +
               id + map + pixels;
    }
};

} // namespace pictures
