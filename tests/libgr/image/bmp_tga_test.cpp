#include "libgr/image/autoformat.h"
#include "libgr/image/bmp.h"
#include "libgr/image/tga.h"
#include "pictures.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

namespace {

using namespace libgr;
using namespace libgr::kinds;
using namespace std::string_literals;
using pictures::bmp;
using pictures::said;
using pictures::tga;
using test_support::temporary_directory;
using ints = std::vector<int>;

TEST(bmp, bit_counts_headers_and_colours) {
    const auto numbers = [](std::uint32_t bits) { return unsigned_samples(pixel_format::color_index, bits); };
    const std::tuple<std::uint16_t, std::uint32_t, std::uint32_t, pixel_descriptor> cases[] = {
        {1, 40, 2, numbers(bits_class::bits_1)},
        {4, 52, 16, numbers(bits_class::bits_4)},
        {8, 40, 3, numbers(bits_class::bits_8)},
        {8, 124, 256, numbers(bits_class::bits_8)},
        {8, 64, 5, numbers(bits_class::bits_8)},
        {1, 40, 0, grey1},
        {4, 108, 0, grey4},
        {8, 56, 0, grey8},
        {24, 64, 2, bgr8},
        {32, 40, 3, bgra8}};
    const temporary_directory folder;
    for (const auto& [bit_count, info_bytes, colors, expected] : cases) {
        bmp b{.info_bytes = info_bytes, .bit_count = bit_count};
        b.between.resize(info_bytes - 40, '\x20');
        for (std::uint32_t i = 0; i < colors; ++i)
            b.between += "\1\2"s + char(i) + '\4';
        b.offset = 14 + 40 + std::uint32_t(b.between.size());
        image2d image;
        ASSERT_TRUE(load_bmp(image, folder.write("a.bmp", b.file()))) << info_bytes;
        EXPECT_EQ(image.descriptor, expected) << bit_count << " bits, " << colors << " colours";
        ASSERT_EQ(image.colors.count, expected.format == pixel_format::color_index ? colors : 0);
        for (std::uint64_t i = 0; i < image.colors.count; ++i)
            EXPECT_EQ((ints{image.colors.red[i], image.colors.green[i], image.colors.blue[i]}),
                      (ints{int(i) * 257, 2 * 257, 257}));
        EXPECT_EQ(image.topdown, 0);
    }
}

TEST(bmp, pixels_are_a_view_into_the_file_and_numbers_become_colours) {
    const temporary_directory folder;
    bmp b{.width = 1, .height = 3, .pixels = "abc_def_ghi_trailing"};
    image2d image;
    ASSERT_TRUE(load_bmp(image, folder.write("a.bmp", b.file())));
    EXPECT_EQ(image.pixels.offset(), 54u);
    EXPECT_EQ(image.pixels.size(), 12u);
    EXPECT_EQ(image.pixels.byte_size(), b.file().size()) << "the storage is the file";
    EXPECT_EQ(pictures::bytes(image), (ints{'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i'}));

    b = {.offset = 62, .bit_count = 8, .between = "\1\2\3\xff\4\5\6\xff", .pixels = "\1\0\0\0\2\xff\0\0"s};
    ASSERT_TRUE(autoloadformat(image, folder.write("b.bmp", b.file())));
    EXPECT_EQ(image.descriptor, rgb8);
    EXPECT_EQ(pictures::bytes(image), (ints{6, 5, 4, 3, 2, 1, 0, 0, 0, 0, 0, 0})) << "unknown ones are black";
}

TEST(bmp, is_written_field_by_field) {
    const temporary_directory folder;
    image2d image =
        pictures::noise(1, 2, {pixel_format::bgr, sample_type::signed_integer, bits_class::bits_8}, 1);
    std::copy_n("abc", 3, image.row(0));
    std::copy_n("def", 3, image.row(1));
    ASSERT_TRUE(save_bmp(image, folder.file("a.bmp"), true));
    using pictures::le;
    const auto headers = [](std::uint32_t before, int bits) {
        return "BM" + le(before + 8, 4) + le(0, 4) + le(before, 4) + le(40, 4) + le(1, 4) + le(2, 4) +
               le(1, 2) + le(std::uint64_t(bits), 2) + le(0, 4) + le(8, 4) + le(72, 4) + le(72, 4) + le(0, 8);
    };
    EXPECT_EQ(test_support::read_file(folder.file("a.bmp")), headers(54, 24) + "abc\0def\0"s);
    for (const auto& [kind, bits] : {std::pair{grey1, 1}, {grey4, 4}, {grey8, 8}}) {
        image = pictures::noise(1, 2, kind);
        std::string greys;
        for (int i = 0; i < 1 << bits; ++i)
            greys += std::string(3, char(i * 255 / ((1 << bits) - 1))) + '\0';
        const std::string rows(image.pixels.data(), image.pixels.end());
        ASSERT_TRUE(save_bmp(image, folder.file("a.bmp"), true));
        const std::string with = test_support::read_file(folder.file("a.bmp"));
        EXPECT_EQ(with.substr(0, with.size() - 8), headers(54 + (4u << bits), bits) + greys);
        EXPECT_EQ(with[with.size() - 4], rows[4]);
        ASSERT_TRUE(save_bmp(image, folder.file("a.bmp")));
        EXPECT_EQ(test_support::read_file(folder.file("a.bmp")).substr(0, 54), headers(54, bits));
    }
}

TEST(tga, each_depth_has_its_descriptor_and_rows_are_unpacked) {
    const ints letters = {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i', 'j', 'k', 'l'};
    const std::tuple<tga, pixel_descriptor, ints> cases[] = {
        {{.id = "some text"}, bgr8, letters},
        {{.map_type = 1, .map_length = 2, .map_entry_bits = 24, .map = "abcdef"}, bgr8, letters},
        {{.width = 1, .height = 3, .depth = 8}, grey8, {'a', 'b', 'c'}},
        {{.image_type = 1, .width = 1, .height = 2, .depth = 8}, grey8, {'a', 'b'}},
        {{.width = 1, .depth = 16}, bgra5551, {'a', 'b', 'c', 'd'}},
        {{.width = 1, .depth = 32, .flags = 8}, bgra8, {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'}},
        {{.height = 1, .flags = 0x10}, bgr8, {'d', 'e', 'f', 'a', 'b', 'c'}},
    };
    const temporary_directory folder;
    for (const auto& [file, expected, bytes] : cases) {
        image2d image;
        ASSERT_TRUE(load_tga(image, folder.write("a.tga", file.file())));
        EXPECT_EQ(image.descriptor, expected);
        EXPECT_EQ(pictures::bytes(image), bytes);
    }
    // The last byte of the header counts the bits of alpha.
    for (const auto& [kind, bits] : {std::pair{bgra8, 8}, {bgra5551, 1}, {bgr8, 0}, {grey8, 0}}) {
        ASSERT_TRUE(save_tga(pictures::noise(2, 2, kind), folder.file("b.tga")));
        EXPECT_EQ(test_support::read_file(folder.file("b.tga"))[17], bits);
    }
}

TEST(tga, colour_maps) {
    struct {
        std::uint16_t first;
        std::uint8_t bits;
        std::string map;
        pixel_descriptor expected;
        ints bytes; // for the numbers 0, 1 and 2
    } const cases[] = {
        {0, 24, "\1\2\3\4\5\6", rgb8, {3, 2, 1, 6, 5, 4, 0, 0, 0}},
        {1, 32, "\1\2\3\x09\4\5\6\x09", rgb8, {0, 0, 0, 3, 2, 1, 6, 5, 4}},
        {0, 16, "\x1f\0\xe0\x7f"s, rgb8, {0, 0, 255, 255, 255, 0, 0, 0, 0}},
        {0, 15, "\x1f\0\xe0\x7f"s, rgb8, {0, 0, 255, 255, 255, 0, 0, 0, 0}},
        {0, 24, "\7\7\7\x09\x09\x09", grey8, {7, 9, 0}},
        {0, 24, "\7\7\7\x09\x08\x09", rgb8, {7, 7, 7, 9, 8, 9, 0, 0, 0}},
    };
    const temporary_directory folder;
    for (const auto& c : cases) {
        const tga t{.map_type = 1,
                    .image_type = 1,
                    .map_first = c.first,
                    .map_length = 2,
                    .map_entry_bits = c.bits,
                    .width = 3,
                    .height = 1,
                    .depth = 8,
                    .map = c.map,
                    .pixels = "\0\1\2"s};
        image2d image;
        ASSERT_TRUE(autoloadformat(image, folder.write("a.tga", t.file())));
        EXPECT_EQ(image.descriptor, c.expected);
        EXPECT_EQ(pictures::bytes(image), c.bytes);
    }
}

TEST(bmp_and_tga, what_cannot_be_right_is_refused_with_one_line) {
    constexpr std::uint32_t most = 0xFFFFFFFF;
    const std::pair<const char*, std::vector<bmp>> bmps[] = {
        {": compressed bmp not supported.", {{.compression = 1}}},
        {": bmp bit count not supported.", {{.bit_count = 16}}},
        {": bmp size not supported.", {{.width = 0}, {.width = most}, {.height = 0}}},
        {": top-down bmp not supported.", {{.height = most}, {.height = 0x80000000}}},
        {": bmp file is truncated.",
         {{.width = 0x7FFFFFFF, .height = 0x7FFFFFFF}, {.pixels = std::string(15, 'x')}}},
        {": bmp pixels lie outside the file.",
         {{.offset = 53}, {.offset = 71}, {.offset = most}, {.offset = 54, .info_bytes = 108}}},
        {": bmp header not supported.", {{.info_bytes = 12}, {.info_bytes = most}}},
    };
    const std::pair<const char*, std::vector<tga>> tgas[] = {
        {": tga image type not supported.", {{.image_type = 0}, {.image_type = 3}}},
        {": tga row order not supported.", {{.flags = 0x20}, {.flags = 0x40}, {.flags = 0x80}}},
        {": tga pixel depth not supported.", {{.depth = 15}}},
        {": tga picture has no pixels.", {{.width = 0}, {.height = 0}}},
        {": tga file is truncated.",
         {{.width = 65535, .height = 65535, .depth = 32},
          {.pixels = std::string(11, 'x')},
          {.map_type = 1, .map_length = 1, .map_entry_bits = 8},
          {.map_type = 1, .image_type = 1, .map_length = 65535, .map_entry_bits = 32, .depth = 8}}},
        {": tga colour map not supported.",
         {{.map_type = 1, .image_type = 1, .map_length = 1, .map_entry_bits = 24, .map = "abc"},
          {.map_type = 1, .image_type = 1, .map_length = 1, .map_entry_bits = 14, .depth = 8, .map = "ab"}}},
    };
    const temporary_directory folder;
    const auto refuse = [&](const auto& lines, const std::string& base, auto load) {
        const std::string name = folder.file(base);
        for (const auto& [line, files] : lines)
            for (const auto& file : files) {
                image2d image;
                folder.write(base, file.file());
                EXPECT_EQ(said([&] { EXPECT_FALSE(load(image, name)); }), name + line + "\n");
                EXPECT_TRUE(image.pixels.empty());
            }
    };
    refuse(bmps, "a.bmp", [](image2d& to, const std::string& name) { return load_bmp(to, name); });
    refuse(tgas, "a.tga", [](image2d& to, const std::string& name) { return load_tga(to, name); });
}

// With the reader's option, alpha that says nothing is dropped and numbers of greys are greys.
TEST(as_meant, bmp_and_tga) {
    const std::string clear = "abc\0def\0"s, dim = "abc\0def\2"s;
    const ints colors = {'a', 'b', 'c', 'd', 'e', 'f'}, dim_pixels = {'a', 'b', 'c', 0, 'd', 'e', 'f', 2};
    const auto bmp_of = [](const std::string& pixels) {
        return bmp{.height = 1, .bit_count = 32, .pixels = pixels}.file();
    };
    const auto tga_of = [](std::uint8_t depth, std::uint8_t flags, const std::string& pixels) {
        return tga{.width = std::uint16_t(pixels.size() * 8 / depth),
                   .height = 1,
                   .depth = depth,
                   .flags = flags,
                   .pixels = pixels}
            .file();
    };
    const bmp greys{.offset = 62,
                    .width = 4,
                    .height = 1,
                    .bit_count = 1,
                    .between = "\0\0\0\0\x50\x50\x50\0"s,
                    .pixels = "\x60\0\0\0"s};
    struct {
        const char* name;
        std::string file;
        ints expected;
    } const cases[] = {
        {"a.bmp", bmp_of(clear), colors},
        {"a.bmp", bmp_of(dim), dim_pixels},
        {"a.tga", tga_of(32, 0, dim), colors},
        {"a.tga", tga_of(32, 8, clear), colors},
        {"a.tga", tga_of(32, 1, dim), dim_pixels},
        {"a.tga", tga_of(16, 0, "\0\xFC"s), {0, 0, 255}},
        {"a.tga", tga_of(16, 1, "\0\x7C"s), {0, 0, 255}},
        {"a.tga", tga_of(16, 1, "\0\xFC"s), {0, 0xFC}},
        {"a.bmp", greys.file(), {0, 80, 80, 0}},
    };
    const temporary_directory folder;
    for (const auto& c : cases) {
        const std::string name = folder.write(c.name, c.file);
        image2d as_it_is, meant;
        ASSERT_TRUE(autoloadformat(as_it_is, name) && as_it_is.leave_file());
        ASSERT_TRUE(load_as(format_of(name), meant, name, {.as_meant = true}));
        EXPECT_EQ(pictures::bytes(meant), c.expected);
        EXPECT_EQ(as_it_is.descriptor == meant.descriptor, c.expected.size() % 3 == 2)
            << "by itself it stays";
    }
    // What becomes larger than its file is counted: three bytes for a bit.
    const std::string name = folder.file("a.bmp");
    image2d image;
    EXPECT_TRUE(load_as(file_format::bmp, image, name, {.most_bytes = 12}));
    EXPECT_EQ(said([&] { EXPECT_FALSE(load_as(file_format::bmp, image, name, {.most_bytes = 11})); }),
              name + ": picture needs 1 MiB of memory, more than the 0 MiB allowed.\n");
}

} // namespace
