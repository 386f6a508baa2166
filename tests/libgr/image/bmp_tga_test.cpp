#include "libgr/image/autoformat.h"
#include "libgr/image/bmp.h"
#include "libgr/image/tga.h"
#include "pictures.h"
#include "support/capture.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

namespace {

using namespace libgr;
using test_support::capture;
using test_support::temporary_directory;

TEST(bmp, each_bit_count_has_its_descriptor) {
    struct {
        std::uint16_t bit_count;
        std::uint32_t colors;
        pixel_descriptor expected;
    } const cases[] = {
        {1, 2, {17, 1, 0}},  {4, 16, {17, 1, 2}}, {8, 3, {17, 1, 3}}, {24, 2, {10, 1, 3}},
        {1, 0, {0, 1, 0}},   {4, 0, {0, 1, 2}},   {8, 0, {0, 1, 3}},  {24, 0, {10, 1, 3}},
        {32, 0, {11, 1, 3}}, {32, 3, {11, 1, 3}},
    };
    const temporary_directory folder;
    for (const auto& c : cases) {
        pictures::bmp b;
        b.bit_count = c.bit_count;
        b.between = std::string(4 * c.colors, '\x10');
        b.offset = 54 + 4 * c.colors;
        image2d image;
        ASSERT_TRUE(load_bmp(image, folder.write("a.bmp", b.file())));
        EXPECT_EQ(image.descriptor, c.expected) << c.bit_count << " bits, " << c.colors << " colours";
        EXPECT_EQ(image.colors.count, c.expected.format == 17 ? c.colors : 0);
        EXPECT_EQ(image.topdown, 0);
    }
}

TEST(bmp, pixels_are_a_view_into_the_file_and_no_more) {
    const temporary_directory folder;
    pictures::bmp b;
    b.width = 1;
    b.height = 3;
    b.pixels = "abc_def_ghi_trailing";
    image2d image;
    ASSERT_TRUE(load_bmp(image, folder.write("a.bmp", b.file())));
    EXPECT_EQ(image.pixels.offset(), 54u);
    EXPECT_EQ(image.pixels.size(), 12u);
    EXPECT_EQ(image.pixels.byte_size(), b.file().size()) << "the storage is the file";
    EXPECT_EQ(pictures::bytes(image), (std::vector<int>{'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i'}));
}

TEST(bmp, colours_are_resolved_and_missing_ones_are_black) {
    const temporary_directory folder;
    pictures::bmp b;
    b.bit_count = 8;
    b.between = {"\x01\x02\x03\xff\x04\x05\x06\xff", 8};
    b.offset = 62;
    b.pixels = {"\x01\x00\x00\x00\x02\xff\x00\x00", 8};
    image2d image;
    ASSERT_TRUE(autoloadformat(image, folder.write("a.bmp", b.file())));
    EXPECT_EQ(image.descriptor, (pixel_descriptor{8, 1, 3}));
    EXPECT_EQ(pictures::bytes(image), (std::vector<int>{6, 5, 4, 3, 2, 1, 0, 0, 0, 0, 0, 0}));

    b.between = std::string(1024, 'x');
    b.offset = 1078;
    ASSERT_TRUE(load_bmp(image, folder.write("b.bmp", b.file())));
    EXPECT_EQ(image.colors.count, 256u);
    EXPECT_EQ(image.colors.red[255], 'x' * 257);
    b.info_bytes = 108;
    b.between = std::string(68, 'y') + std::string(16, 'z');
    b.offset = 54 + 84;
    ASSERT_TRUE(load_bmp(image, folder.write("c.bmp", b.file()))) << "a longer header";
    EXPECT_EQ(image.colors.count, 4u);
    EXPECT_EQ(image.colors.red[0], 'z' * 257);
}

TEST(bmp, what_cannot_be_right_is_refused_with_one_line) {
    constexpr std::uint32_t most = 0xFFFFFFFF;
    struct {
        pictures::bmp file;
        const char* line;
    } const cases[] = {
        {{.compression = 1}, ": compressed bmp not supported."},
        {{.compression = most}, ": compressed bmp not supported."},
        {{.bit_count = 0}, ": bmp bit count not supported."},
        {{.bit_count = 16}, ": bmp bit count not supported."},
        {{.bit_count = 0xFFFF}, ": bmp bit count not supported."},
        {{.width = 0}, ": bmp size not supported."},
        {{.width = most}, ": bmp size not supported."},
        {{.height = 0}, ": bmp size not supported."},
        {{.height = most}, ": top-down bmp not supported."},
        {{.height = 0x80000000}, ": top-down bmp not supported."},
        {{.height = 0x7FFFFFFF}, ": bmp file is truncated."},
        {{.width = 0x7FFFFFFF, .height = 0x7FFFFFFF}, ": bmp file is truncated."},
        {{.pixels = std::string(15, 'x')}, ": bmp file is truncated."},
        {{.offset = 53}, ": bmp pixels lie outside the file."},
        {{.offset = 71}, ": bmp pixels lie outside the file."},
        {{.offset = most}, ": bmp pixels lie outside the file."},
        {{.offset = 54, .info_bytes = 108}, ": bmp pixels lie outside the file."},
        {{.info_bytes = 12}, ": bmp header not supported."},
        {{.info_bytes = most}, ": bmp header not supported."},
    };
    const temporary_directory folder;
    for (const auto& c : cases) {
        capture err(std::cerr);
        image2d image;
        const std::string name = folder.write("a.bmp", c.file.file());
        EXPECT_FALSE(load_bmp(image, name)) << c.line;
        EXPECT_EQ(err.text(), name + c.line + "\n");
        EXPECT_TRUE(image.pixels.empty());
    }
    capture err(std::cerr);
    image2d image;
    EXPECT_FALSE(load_bmp(image, folder.write("b.bmp", std::string(100, 'B'))));
    EXPECT_FALSE(load_bmp(image, folder.write("c.bmp", "BM")));
    EXPECT_FALSE(load_bmp(image, folder.write("d.bmp", "")));
    EXPECT_FALSE(load_bmp(image, folder.file("e.bmp")));
    EXPECT_EQ(err.text(), folder.file("b.bmp") + ": not a bmp file.\n" + folder.file("c.bmp") +
                              ": not a bmp file.\n" + folder.file("d.bmp") + ": file load failed.\n" +
                              folder.file("e.bmp") + ": file stat failed.\n");
}

TEST(bmp, is_written_field_by_field) {
    const temporary_directory folder;
    image2d image = pictures::noise(1, 2, {10, 0, 3}, 1);
    std::copy_n("abcdef", 3, image.row(0));
    std::copy_n("defdef", 3, image.row(1));
    ASSERT_TRUE(save_bmp(image, folder.file("a.bmp")));
    using pictures::le;
    EXPECT_EQ(test_support::read_file(folder.file("a.bmp")),
              "BM" + le(62, 4) + le(0, 4) + le(54, 4) + le(40, 4) + le(1, 4) + le(2, 4) + le(1, 2) +
                  le(24, 2) + le(0, 4) + le(8, 4) + le(72, 4) + le(72, 4) + le(0, 8) +
                  std::string("abc\0def\0", 8));
}

TEST(bmp, takes_back_what_it_wrote_and_refuses_the_rest) {
    const temporary_directory folder;
    const std::string name = folder.file("a.bmp");
    for (const pixel_descriptor d : {pixel_descriptor{0, 1, 0}, {0, 1, 2}, {0, 1, 3}, {10, 1, 3}}) {
        const image2d image = pictures::noise(13, 5, d);
        ASSERT_TRUE(save_bmp(image, name));
        image2d read;
        ASSERT_TRUE(autoloadformat(read, name));
        EXPECT_EQ(read.descriptor, d);
        EXPECT_EQ(pictures::bytes(read), pictures::bytes(image));
    }
    // With a table of its greys the whole range of each width comes back, as colours.
    for (const std::uint32_t bits : {0u, 2u, 3u}) {
        const std::uint32_t most = (1u << bits_per_component(bits)) - 1;
        image2d steps = pictures::noise(most + 1, 1, {0, 1, bits}), read;
        std::fill_n(steps.row(0), steps.stride(), 0);
        for (std::uint32_t x = 0, width = bits_per_component(bits); x <= most; ++x)
            steps.row(0)[x * width / 8] |= static_cast<unsigned char>(x << (8 - width - x * width % 8));
        ASSERT_TRUE(save_bmp(steps, name, true));
        ASSERT_TRUE(autoloadformat(read, name));
        ASSERT_EQ(read.descriptor, (pixel_descriptor{8, 1, 3}));
        for (std::uint32_t x = 0; x <= most; ++x)
            for (int c = 0; c < 3; ++c)
                EXPECT_EQ(read.pixel(x, 0)[c], x * 255 / most) << bits;
    }
    const std::string before = test_support::read_file(name);
    for (const pixel_descriptor d :
         {pixel_descriptor{11, 1, 3}, {8, 1, 3}, {0, 1, 1}, {0, 1, 5}, {10, 2, 3}, {17, 1, 3}}) {
        capture err(std::cerr);
        EXPECT_FALSE(save_bmp(pictures::noise(3, 3, d), name));
        EXPECT_EQ(err.text(), "convert(to bmp): not supported format.\n");
    }
    image2d image = pictures::noise(3, 3);
    for (std::uint8_t image2d::*const flag : {&image2d::topdown, &image2d::compressed}) {
        capture err(std::cerr);
        image.*flag = 1;
        EXPECT_FALSE(save_bmp(image, name));
        EXPECT_EQ(err.text(), "convert(to bmp): not supported format.\n");
        image.*flag = 0;
    }
    EXPECT_EQ(test_support::read_file(name), before) << "a refused save leaves the old file";
}

TEST(tga, each_depth_has_its_descriptor_and_rows_are_unpacked) {
    struct {
        pictures::tga file;
        pixel_descriptor expected;
        std::vector<int> bytes;
    } const cases[] = {
        {{}, {10, 1, 3}, {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i', 'j', 'k', 'l'}},
        {{.depth = 24, .id = "some text"},
         {10, 1, 3},
         {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i', 'j', 'k', 'l'}},
        {{.width = 1, .height = 3, .depth = 8}, {0, 1, 3}, {'a', 'b', 'c'}},
        {{.image_type = 1, .width = 1, .height = 2, .depth = 8}, {0, 1, 3}, {'a', 'b'}},
        {{.width = 1, .depth = 16}, {11, 1, 11}, {'a', 'b', 'c', 'd'}},
        {{.width = 1, .depth = 32, .flags = 8}, {11, 1, 3}, {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'}},
        {{.map_type = 1, .map_length = 2, .map_entry_bits = 24, .map = "abcdef"},
         {10, 1, 3},
         {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i', 'j', 'k', 'l'}},
        {{.height = 1, .flags = 0x10}, {10, 1, 3}, {'d', 'e', 'f', 'a', 'b', 'c'}},
    };
    const temporary_directory folder;
    for (const auto& c : cases) {
        image2d image;
        ASSERT_TRUE(load_tga(image, folder.write("a.tga", c.file.file())));
        EXPECT_EQ(image.descriptor, c.expected);
        EXPECT_EQ(pictures::bytes(image), c.bytes);
    }
}

TEST(as_meant, alpha_that_says_nothing_is_dropped_and_greys_are_grey) {
    using pictures::bmp;
    using pictures::tga;
    const std::string clear("abc\0def\0", 8), dim("abc\0def\1", 8), greys("\0\0\0\0\x50\x50\x50\0", 8);
    struct {
        const char* name;
        std::string file;
        std::vector<int> as_it_is, as_meant;
    } const cases[] = {
        {"a.bmp",
         bmp{.width = 2, .height = 1, .bit_count = 32, .pixels = clear}.file(),
         {'a', 'b', 'c', 0, 'd', 'e', 'f', 0},
         {'a', 'b', 'c', 'd', 'e', 'f'}},
        {"a.bmp",
         bmp{.width = 2, .height = 1, .bit_count = 32, .pixels = dim}.file(),
         {'a', 'b', 'c', 0, 'd', 'e', 'f', 1},
         {'a', 'b', 'c', 0, 'd', 'e', 'f', 1}},
        {"a.tga",
         tga{.height = 1, .depth = 32, .flags = 0, .pixels = dim}.file(),
         {'a', 'b', 'c', 0, 'd', 'e', 'f', 1},
         {'a', 'b', 'c', 'd', 'e', 'f'}},
        {"a.tga",
         tga{.height = 1, .depth = 32, .flags = 8, .pixels = clear}.file(),
         {'a', 'b', 'c', 0, 'd', 'e', 'f', 0},
         {'a', 'b', 'c', 'd', 'e', 'f'}},
        {"a.tga",
         tga{.height = 1, .depth = 32, .flags = 1, .pixels = dim}.file(),
         {'a', 'b', 'c', 0, 'd', 'e', 'f', 1},
         {'a', 'b', 'c', 0, 'd', 'e', 'f', 1}},
        {"a.tga",
         tga{.width = 1, .height = 1, .depth = 16, .flags = 0, .pixels = {"\0\xFC", 2}}.file(),
         {0, 0xFC},
         {0, 0, 255}},
        {"a.tga",
         tga{.width = 1, .height = 1, .depth = 16, .flags = 1, .pixels = {"\0\x7C", 2}}.file(),
         {0, 0x7C},
         {0, 0, 255}},
        {"a.bmp",
         bmp{.offset = 62,
             .width = 4,
             .height = 1,
             .bit_count = 1,
             .between = greys,
             .pixels = {"\x60\0\0\0", 4}}
             .file(),
         {0, 0, 0, 80, 80, 80, 80, 80, 80, 0, 0, 0},
         {0, 80, 80, 0}},
    };
    const temporary_directory folder;
    for (const auto& c : cases) {
        const std::string name = folder.write(c.name, c.file);
        image2d image;
        ASSERT_TRUE(autoloadformat(image, name));
        EXPECT_EQ(pictures::bytes(image), c.as_it_is);
        ASSERT_TRUE(load_as(format_of(name), image, name, {.as_meant = true}));
        EXPECT_EQ(pictures::bytes(image), c.as_meant);
        capture err(std::cerr);
        EXPECT_EQ(load_as(format_of(name), image, name, {.most_bytes = 3, .as_meant = true}),
                  c.as_meant.size() == c.as_it_is.size() || std::string(c.name) == "a.tga");
    }
}

TEST(tga, colour_maps) {
    struct {
        std::uint16_t first;
        std::uint8_t bits;
        std::string map;
        pixel_descriptor expected;
        std::vector<int> bytes; // for the numbers 0, 1 and 2
    } const cases[] = {
        {0, 24, {"\x01\x02\x03\x04\x05\x06", 6}, {8, 1, 3}, {3, 2, 1, 6, 5, 4, 0, 0, 0}},
        {1, 32, {"\x01\x02\x03\x09\x04\x05\x06\x09", 8}, {8, 1, 3}, {0, 0, 0, 3, 2, 1, 6, 5, 4}},
        {0, 16, {"\x1f\x00\xe0\x7f", 4}, {8, 1, 3}, {0, 0, 255, 255, 255, 0, 0, 0, 0}},
        {0, 24, {"\x07\x07\x07\x09\x09\x09", 6}, {0, 1, 3}, {7, 9, 0}},
    };
    const temporary_directory folder;
    for (const auto& c : cases) {
        pictures::tga t{.map_type = 1,
                        .image_type = 1,
                        .map_first = c.first,
                        .map_length = 2,
                        .map_entry_bits = c.bits,
                        .width = 3,
                        .height = 1,
                        .depth = 8,
                        .map = c.map,
                        .pixels = {"\x00\x01\x02", 3}};
        image2d image;
        ASSERT_TRUE(autoloadformat(image, folder.write("a.tga", t.file())));
        EXPECT_EQ(image.descriptor, c.expected);
        EXPECT_EQ(pictures::bytes(image), c.bytes);
    }
}

TEST(tga, what_cannot_be_right_is_refused_with_one_line) {
    struct {
        pictures::tga file;
        const char* line;
    } const cases[] = {
        {{.image_type = 0}, ": tga image type not supported."},
        {{.image_type = 3}, ": tga image type not supported."},
        {{.image_type = 9}, ": tga image type not supported."},
        {{.image_type = 10}, ": tga image type not supported."},
        {{.image_type = 255}, ": tga image type not supported."},
        {{.flags = 0x20}, ": tga row order not supported."},
        {{.flags = 0xFF}, ": tga row order not supported."},
        {{.depth = 0}, ": tga pixel depth not supported."},
        {{.depth = 15}, ": tga pixel depth not supported."},
        {{.depth = 255}, ": tga pixel depth not supported."},
        {{.width = 0}, ": tga picture has no pixels."},
        {{.height = 0}, ": tga picture has no pixels."},
        {{.width = 65535, .height = 65535, .depth = 32}, ": tga file is truncated."},
        {{.pixels = std::string(11, 'x')}, ": tga file is truncated."},
        {{.map_type = 1, .map_length = 65535, .map_entry_bits = 255}, ": tga file is truncated."},
        {{.map_type = 1, .image_type = 1, .map_length = 1, .map_entry_bits = 24, .map = "abc"},
         ": tga colour map not supported."},
        {{.map_type = 1, .image_type = 1, .map_length = 1, .map_entry_bits = 8, .depth = 8, .map = "a"},
         ": tga colour map not supported."},
        {{.map_type = 1, .image_type = 1, .map_length = 65535, .map_entry_bits = 32, .depth = 8},
         ": tga file is truncated."},
    };
    const temporary_directory folder;
    for (const auto& c : cases) {
        capture err(std::cerr);
        image2d image;
        const std::string name = folder.write("a.tga", c.file.file());
        EXPECT_FALSE(load_tga(image, name)) << c.line;
        EXPECT_EQ(err.text(), name + c.line + "\n");
    }
}

TEST(tga, takes_back_what_it_wrote_and_refuses_the_rest) {
    const temporary_directory folder;
    const std::string name = folder.file("a.tga");
    for (const pixel_descriptor d : {pixel_descriptor{0, 1, 3}, {10, 1, 3}, {11, 1, 3}, {11, 1, 11}}) {
        const image2d image = pictures::noise(7, 5, d, 2);
        ASSERT_TRUE(save_tga(image, name));
        image2d read;
        ASSERT_TRUE(autoloadformat(read, name));
        EXPECT_EQ(read.descriptor, d);
        EXPECT_EQ(pictures::bytes(read), pictures::bytes(image));
    }
    for (const std::uint32_t channels : {3u, 4u}) {
        const image2d image = pictures::noise(1, 1, {channels == 3 ? 8u : 9u, 1, 3});
        ASSERT_TRUE(save_tga(image, name));
        image2d read;
        ASSERT_TRUE(autoloadformat(read, name));
        EXPECT_EQ(read.descriptor.format, channels == 3 ? 10u : 11u);
        EXPECT_EQ(read.row(0)[0], image.row(0)[2]);
        EXPECT_EQ(read.row(0)[2], image.row(0)[0]);
        EXPECT_EQ(read.row(0)[channels - 2], image.row(0)[channels == 3 ? 1 : 0]);
    }
    const std::string before = test_support::read_file(name);
    for (const pixel_descriptor d :
         {pixel_descriptor{1, 1, 3}, {8, 1, 5}, {0, 1, 2}, {8, 1, 11}, {17, 1, 3}}) {
        capture err(std::cerr);
        EXPECT_FALSE(save_tga(pictures::noise(3, 3, d), name));
        EXPECT_EQ(err.text(), "convert(to tga): not supported format.\n");
    }
    EXPECT_EQ(test_support::read_file(name), before);
    capture err(std::cerr);
    EXPECT_FALSE(save_tga(pictures::noise(65536, 1), name));
    EXPECT_EQ(err.text(), "convert(to tga): picture too large.\n");
}

} // namespace
