#include "libgr/image/autoformat.h"
#include "libgr/image/png_file.h"
#include "pictures.h"
#include "support/capture.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <png.h>
#include <zlib.h>

namespace {

using namespace libgr;
using test_support::capture;
using test_support::temporary_directory;

std::string be(std::uint64_t value, int count) {
    std::string text = pictures::le(value, count);
    std::reverse(text.begin(), text.end());
    return text;
}

std::string chunk(const std::string& name, const std::string& data) {
    const std::string body = name + data;
    const auto crc = crc32(0, reinterpret_cast<const Bytef*>(body.data()), uInt(body.size()));
    return be(data.size(), 4) + body + be(crc, 4);
}

std::string deflated(const std::string& data) {
    std::string packed(compressBound(data.size()), '\0');
    uLongf size = packed.size();
    compress2(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(data.data()),
              data.size(), 9);
    packed.resize(size);
    return packed;
}

const std::string signature = "\x89PNG\r\n\x1a\n";

std::string header(std::uint32_t width, std::uint32_t height, int depth, int type, int interlace = 0) {
    return signature + chunk("IHDR", be(width, 4) + be(height, 4) + char(depth) + char(type) +
                                         std::string(2, '\0') + char(interlace));
}

TEST(png, every_form_comes_back) {
    const temporary_directory folder;
    const std::string name = folder.file("a.png");
    for (const pixel_descriptor d : {pixel_descriptor{0, 1, 0},
                                     {0, 1, 1},
                                     {0, 1, 2},
                                     {0, 1, 3},
                                     {0, 1, 5},
                                     {1, 1, 3},
                                     {1, 1, 5},
                                     {8, 1, 3},
                                     {8, 1, 5},
                                     {9, 1, 3},
                                     {9, 1, 5}}) {
        const image2d image = pictures::noise(17, 5, d, bits_per_pixel(d) % 8 ? 0 : 3);
        ASSERT_TRUE(save_png(image, name, "a title"));
        image2d read;
        ASSERT_TRUE(load_png(read, name));
        EXPECT_EQ(read.descriptor, d);
        EXPECT_EQ(pictures::bytes(read), pictures::bytes(image)) << d.format << ' ' << d.bits;
    }
    const std::string file = test_support::read_file(name);
    EXPECT_NE(file.find(std::string("tEXtTitle\0a title", 17)), std::string::npos);
    EXPECT_NE(file.find("sBIT\x10\x10\x10\x10"), std::string::npos);
}

TEST(png, sixteen_bits_come_in_the_order_of_this_machine) {
    const temporary_directory folder;
    image2d image;
    ASSERT_TRUE(load_png(image, folder.write("a.png", header(1, 1, 16, 0) +
                                                          chunk("IDAT", deflated({"\0\x12\x34", 3})) +
                                                          chunk("IEND", ""))));
    std::uint16_t sample;
    std::memcpy(&sample, image.row(0), 2);
    EXPECT_EQ(sample, 0x1234);
}

TEST(png, colour_numbers_get_the_files_colours) {
    const temporary_directory folder;
    const std::string name =
        folder.write("a.png", header(4, 1, 2, 3) + chunk("PLTE", "rgbRGB") +
                                  chunk("IDAT", deflated({"\0\x1b", 2})) + chunk("IEND", ""));
    image2d image;
    ASSERT_TRUE(load_png(image, name));
    EXPECT_EQ(image.descriptor, (pixel_descriptor{17, 1, 1}));
    EXPECT_EQ(image.colors.count, 2u);
    EXPECT_EQ(image.colors.green[1], 'G' * 257);

    capture err(std::cerr);
    const std::string other = folder.write("b.png", "old");
    EXPECT_FALSE(save_png(image, other)) << "colours would be lost";
    EXPECT_EQ(err.text().substr(0, 4), "FAIL");
    EXPECT_EQ(std::ranges::count(err.text(), '\n'), 1);
    EXPECT_EQ(test_support::read_file(other), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 2)
        << "nothing left beside";

    ASSERT_TRUE(autoloadformat(image, name));
    EXPECT_EQ(pictures::bytes(image), (std::vector<int>{'r', 'g', 'b', 'R', 'G', 'B', 0, 0, 0, 0, 0, 0}));
}

TEST(png, other_forms_are_not_written) {
    const temporary_directory folder;
    for (const pixel_descriptor d :
         {pixel_descriptor{10, 1, 3}, {11, 1, 3}, {0, 1, 4}, {0, 1, 7}, {11, 1, 11}, {0, 2, 5}}) {
        capture err(std::cerr);
        EXPECT_FALSE(save_png(pictures::noise(2, 2, d), folder.file("a.png")));
        EXPECT_EQ(err.text(), "convert(to png): not supported format.\n");
    }
    capture err(std::cerr);
    EXPECT_FALSE(save_png(pictures::noise(2, 2, {8, 1, 2}), folder.file("a.png"))) << "PNG has no such depth";
    EXPECT_EQ(err.text().substr(0, 4), "FAIL");
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(png, a_library_of_another_version_is_reported) {
    capture err(std::cerr);
    EXPECT_TRUE(check_png_version("1.6.37", "1.6.37"));
    EXPECT_FALSE(check_png_version("1.6.37", "1.6.43"));
    EXPECT_EQ(err.text(), "libpng version different.\n  header: 1.6.37\n  source: 1.6.43\n");
}

TEST(png, what_cannot_be_opened_or_is_none_is_refused) {
    const temporary_directory folder;
    const std::string pixel = deflated({"\0\x50", 2});
    struct {
        std::string name, line;
    } const cases[] = {
        {folder.file("none.png"), ": file open error, No such file or directory"},
        {folder.write("empty.png", ""), ": not a png file."},
        {folder.write("words.png", "some text"), ": not a png file."},
        {folder.write("zero.png", header(0, 1, 8, 0)), ": png read error, Invalid IHDR data."},
        {folder.write("deep.png", header(1, 1, 255, 255)), ": png read error, Invalid IHDR data."},
        // A few bytes cannot hold so many pixels.
        {folder.write("bomb.png",
                      header(65535, 65535, 16, 6) + chunk("IDAT", deflated(std::string(1000, '\0')))),
         ": png read error, file is truncated."},
        {folder.write("bomb2.png", header(65535, 65535, 8, 2, 1) + chunk("IDAT", "")),
         ": png read error, file is truncated."},
        {folder.write("small_bomb.png", header(3000, 300, 8, 0) + chunk("IDAT", deflated("\0"))),
         ": png read error, file is truncated."},
        {folder.write("chunks.png", header(1, 1, 8, 0) + chunk("IDAT", pixel.substr(0, pixel.size() - 4)) +
                                        chunk("IDAT", "sum?") + chunk("IEND", "")),
         ": png read error, IDAT: incorrect data check."},
        {folder.write("text.png",
                      header(1, 1, 8, 0) + chunk("IDAT", pixel) + be(1, 4) + "tEXt?sum?" + chunk("IEND", "")),
         ": png read error, tEXt: CRC error."},
        {folder.write("wide.png", header(0x7FFFFFFF, 0x7FFFFFFF, 8, 2)),
         ": png read error, Invalid IHDR data."},
    };
    for (const auto& c : cases) {
        capture err(std::cerr);
        image2d image;
        EXPECT_FALSE(load_png(image, c.name));
#ifdef _WIN32
        if (c.line.find("No such") != std::string::npos) continue; // in the system's own words
#endif
        EXPECT_EQ(err.text(), c.name + c.line + "\n");
    }
    const std::string name = folder.file("a.png");
    ASSERT_TRUE(save_png(pictures::noise(5, 3, {9, 1, 5}), name)); // 40 bytes a row
    image2d image;
    EXPECT_TRUE(load_png(image, name, {.most_bytes = 120}));
    capture err(std::cerr);
    EXPECT_FALSE(load_png(image, name, {.most_bytes = 119}));
    EXPECT_EQ(err.text(), name + ": picture needs 1 MiB of memory, more than the 0 MiB allowed.\n");
}

} // namespace
