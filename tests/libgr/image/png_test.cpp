#include "libgr/image/png_file.h"

#include "libgr/image/autoformat.h"
#include "pictures.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <zlib.h>

namespace {

using namespace libgr;
using namespace std::string_literals;
using pictures::said;
using test_support::temporary_directory;

std::string be(std::uint64_t value, int count) {
    std::string text = pictures::le(value, count);
    std::reverse(text.begin(), text.end());
    return text;
}

std::string chunk(const std::string& name, const std::string& data) {
    const std::string body = name + data;
    return be(data.size(), 4) + body +
           be(crc32(0, reinterpret_cast<const Bytef*>(body.data()), uInt(body.size())), 4);
}

std::string deflated(const std::string& data) {
    std::string packed(compressBound(data.size()), '\0');
    uLongf size = packed.size();
    compress2(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(data.data()),
              data.size(), 9);
    packed.resize(size);
    return packed;
}

std::string header(std::uint32_t width, std::uint32_t height, int depth, int type, int interlace = 0) {
    return "\x89PNG\r\n\x1a\n" +
           chunk("IHDR", be(width, 4) + be(height, 4) + char(depth) + char(type) + "\0\0"s + char(interlace));
}

const std::string end = chunk("IEND", "");

TEST(png, samples_rows_and_colours) {
    struct {
        std::string file;
        pixel_descriptor descriptor;
        std::vector<int> bytes; // the bottom row first
    } const cases[] = {
        {header(1, 1, 16, 0) + chunk("IDAT", deflated("\0\x12\x34"s)) + end, kinds::grey16, {0x34, 0x12}},
        {header(4, 1, 2, 3) + chunk("PLTE", "rgbRGB") + chunk("IDAT", deflated("\0\x1b"s)) + end,
         kinds::rgb8,
         {'r', 'g', 'b', 'R', 'G', 'B', 0, 0, 0, 0, 0, 0}},
        // Interlaced: every pass brings pixels of its own.
        {header(2, 2, 8, 0, 1) + chunk("IDAT", deflated("\0a\0b\0cd"s)) + end,
         kinds::grey8,
         {'c', 'd', 'a', 'b'}},
    };
    const temporary_directory folder;
    for (const auto& c : cases) {
        image2d image;
        ASSERT_TRUE(autoloadformat(image, folder.write("a.png", c.file)));
        EXPECT_EQ(image.descriptor, c.descriptor);
        EXPECT_EQ(pictures::bytes(image), c.bytes);
    }
    image2d numbers;
    ASSERT_TRUE(load_png(numbers, folder.write("a.png", cases[1].file)));
    EXPECT_EQ(numbers.descriptor, kinds::unsigned_samples(pixel_format::color_index, bits_class::bits_2));
    EXPECT_EQ(numbers.colors.count, 2u);
    EXPECT_EQ(numbers.colors.green[1], 'G' * 257);

    ASSERT_TRUE(save_png(pictures::noise(1, 1, kinds::rgba16), folder.file("b.png"), "a title"));
    const std::string file = test_support::read_file(folder.file("b.png"));
    EXPECT_NE(file.find("tEXtTitle\0a title"s), std::string::npos);
    EXPECT_NE(file.find("sBIT\x10\x10\x10\x10"), std::string::npos);
}

TEST(png, a_library_of_another_version_is_reported) {
    EXPECT_TRUE(check_png_version("1.6.37", "1.6.37"));
    EXPECT_EQ(said([] { EXPECT_FALSE(check_png_version("1.6.37", "1.6.43")); }),
              "libpng version different.\n  header: 1.6.37\n  source: 1.6.43\n");
}

TEST(png, what_is_damaged_or_too_large_is_refused) {
    const temporary_directory folder;
    const std::string pixel = deflated("\0\x50"s), one = header(1, 1, 8, 0);
    const std::pair<std::string, std::string> cases[] = {
        {header(0, 1, 8, 0), "Invalid IHDR data."},
        {header(1, 1, 255, 255), "Invalid IHDR data."},
        {header(0x7FFFFFFF, 0x7FFFFFFF, 8, 2), "Invalid IHDR data."},
        // A few bytes cannot hold so many pixels.
        {header(65535, 65535, 8, 2, 1) + chunk("IDAT", ""), "file is truncated."},
        {header(3000, 300, 8, 0) + chunk("IDAT", pixel), "file is truncated."},
        {one + chunk("IDAT", pixel.substr(0, pixel.size() - 4)) + chunk("IDAT", "sum?") + end,
         "IDAT: incorrect data check."},
        {one + chunk("IDAT", pixel) + be(1, 4) + "tEXt?sum?" + end, "tEXt: CRC error."},
    };
    image2d image;
    for (const auto& [file, line] : cases) {
        const std::string name = folder.write("a.png", file);
        EXPECT_EQ(said([&] { EXPECT_FALSE(load_png(image, name)); }),
                  name + ": png read error, " + line + "\n");
    }
    const std::string name = folder.file("b.png");
    ASSERT_TRUE(save_png(pictures::noise(5, 3, kinds::rgba16), name)); // 40 bytes a row
    EXPECT_TRUE(load_png(image, name, {.most_bytes = 120}));
    EXPECT_EQ(said([&] { EXPECT_FALSE(load_png(image, name, {.most_bytes = 119})); }),
              name + ": picture needs 1 MiB of memory, more than the 0 MiB allowed.\n");
}

} // namespace
