#include "libgr/image/processing.h"

#include "libgr/image/convert.h"
#include "libgr/image/normal.h"
#include "libgr/image/row_kernels.h"
#include "pictures.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <vector>
#ifdef __linux__
#include <sys/mman.h>
#endif

namespace {

using namespace libgr;
using namespace libgr::kinds;
using pictures::bytes;
using pictures::noise;
using pictures::said;

// Random bytes that end with readable memory, so that a look behind them ends the test.
unsigned char* row(unsigned which, std::size_t size) {
    constexpr std::size_t room = 1 << 19;
    static unsigned char* rooms[4];
    unsigned char*& at = rooms[which];
    if (!at) {
#ifdef __linux__
        constexpr std::size_t page = 4096;
        at = static_cast<unsigned char*>(
            mmap(nullptr, room + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(at + room, page, PROT_NONE);
#else
        at = new unsigned char[room];
#endif
        std::mt19937 random(which);
        std::generate_n(at, room, [&] { return static_cast<unsigned char>(random() % 5 ? random() : 255); });
    }
    return at + room - size;
}

TEST(row_kernels, the_fast_ones_give_the_bytes_of_the_plain_ones) {
    const row_kernels::set &plain = row_kernels::plain, &fast = row_kernels::best();
    for (std::size_t n = 0; n < 65536; n += n < 70 ? 1 : 32000) {
        const auto compare = [&](auto kernel, std::size_t read, std::size_t written) {
            unsigned char *a = row(0, read * n), *b = row(1, read * n);
            unsigned char *slow = row(2, written * n), *quick = row(3, written * n);
            if constexpr (std::is_same_v<decltype(kernel), decltype(&row_kernels::set::grey)>) {
                (plain.*kernel)(slow, a, n);
                (fast.*kernel)(quick, a, n);
            } else {
                (plain.*kernel)(slow, a, b, n);
                (fast.*kernel)(quick, a, b, n);
            }
            EXPECT_EQ(std::memcmp(slow, quick, written * n), 0)
                << n << " pixels, " << read << " to " << written;
        };
        compare(&row_kernels::set::grey, 3, 1);
        compare(&row_kernels::set::halve_luminance, 2, 1);
        compare(&row_kernels::set::halve_3, 6, 3);
        compare(&row_kernels::set::halve_4, 8, 4);
        compare(&row_kernels::set::normals, 1, 3);
    }
}

TEST(rgb2grey, single_precision_truncated) {
    image2d colours = noise(4, 1, rgb8), grey;
    const unsigned char rgb[] = {255, 255, 255, 1, 2, 3, 10, 200, 30, 0, 0, 0};
    std::memcpy(colours.row(0), rgb, sizeof rgb);
    ASSERT_TRUE(rgb2grey(grey, colours));
    // 255 * 0.587f is a little less than the exact product, and so is the sum of all three.
    EXPECT_EQ(bytes(grey), (std::vector<int>{int(255 * 0.299f + 255 * 0.587f + 255 * 0.114f), 1, 123, 0}));
    EXPECT_EQ(grey.descriptor, grey8);
    ASSERT_TRUE(rgb2grey(colours, colours)) << "in place";
    EXPECT_EQ(bytes(colours), bytes(grey));
}

// What each operation refuses, and how it says so.
TEST(processing, refuses_with_one_line) {
    const auto grey = [](image2d& made, const image2d& source, std::uint32_t) {
        return rgb2grey(made, source);
    };
    const auto half = [](image2d& made, const image2d& source, std::uint32_t) {
        return scaledown(made, source);
    };
    constexpr pixel_descriptor numbers = unsigned_samples(pixel_format::color_index),
                               wide = unsigned_samples(pixel_format::rgb, bits_class::bits_32),
                               floats = {pixel_format::rgb, sample_type::floating, bits_class::bits_16};
    struct {
        pixel_descriptor from;
        bool (*operation)(image2d&, const image2d&, std::uint32_t);
        std::uint32_t to;
        const char* line;
    } const cases[] = {
        {bgr8, grey, 0, "10: image format is not RGB.\n"},
        {signed_rgb8, grey, 0, "0: image type is not UINT.\n"},
        {rgb16, grey, 0, "5: image bits is not 8.\n"},
        {grey_alpha8, half, 0, "scaledown():: unsupported format.\n"},
        {numbers, half, 0, "scaledown():: unsupported format.\n"},
        {grey1, half, 0, "scaledown():: unsupported format.\n"},
        {bgra5551, half, 0, "scaledown():: unsupported format.\n"},
        {rgb8, convert_format, pixel_format::luminance, "not support format.\n"},
        {numbers, convert_format, pixel_format::rgb, "not support format.\n"},
        {rgb8, convert_format, 99, "not support format.\n"},
        {floats, convert_format, pixel_format::rgba, "not support image type.\n"},
        {bgra5551, convert_format, pixel_format::rgb, "not support image bits.\n"},
        {floats, convert_type, sample_type::unsigned_integer, "not support image type.\n"},
        {rgb8, convert_type, sample_type::floating, "not support image type.\n"},
        {wide, convert_bits, bits_class::bits_8, "not support image bits.\n"},
        {rgb8, convert_bits, bits_class::bits_1, "not support image bits.\n"},
        {signed_rgb8, convert_bits, bits_class::bits_16, "not support image type.\n"},
        {numbers, convert_bits, bits_class::bits_16, "not support format.\n"},
    };
    for (const auto& c : cases) {
        image2d made;
        EXPECT_EQ(said([&] { EXPECT_FALSE(c.operation(made, noise(2, 2, c.from), c.to)); }), c.line);
    }
}

TEST(convert, forms_of_the_same_picture) {
    constexpr pixel_descriptor bgr16 = unsigned_samples(pixel_format::bgr, bits_class::bits_16);
    const std::tuple<pixel_descriptor, std::vector<int>, pixel_descriptor, std::vector<int>> cases[] = {
        {grey8, {7}, rgba8, {7, 7, 7, 255}},
        {rgb8, {1, 2, 3}, bgr8, {3, 2, 1}},
        {rgb8, {1, 2, 3}, bgra8, {3, 2, 1, 255}},
        {bgra8, {1, 2, 3, 4}, rgb8, {3, 2, 1}},
        {grey_alpha8, {1, 9}, bgra8, {1, 1, 1, 9}},
        {grey_alpha8, {1, 9}, grey8, {1}},
        {rgb16, {1, 2, 3, 4, 5, 6}, bgr16, {5, 6, 3, 4, 1, 2}},
        {grey8, {0xAB}, grey16, {0xAB, 0xAB}},
        {grey16, {0x34, 0x12}, grey8, {0x12}},
        {grey1, {0x80}, grey8, {255}},
        {grey2, {0x80}, grey8, {170}},
        {grey4, {0x50}, grey8, {0x55}},
        {bgra5551, {0x1F, 0x84}, bgra8, {255, 0, 8, 255}},
    };
    for (const auto& [from, samples, to, expected] : cases) {
        image2d source = noise(1, 1, from), made;
        std::copy(samples.begin(), samples.end(), source.row(0));
        ASSERT_TRUE(convert_bits(made, source, to.bits));
        ASSERT_TRUE(convert_format(made, made, to.format));
        EXPECT_EQ(made.descriptor, to);
        EXPECT_EQ(bytes(made), expected) << from.format << ' ' << from.bits;
    }
    const image2d source = noise(2, 2, signed_rgb8);
    image2d made;
    ASSERT_TRUE(convert_type(made, source, sample_type::unsigned_integer));
    EXPECT_EQ(made.pixels.data(), source.pixels.data());
    EXPECT_EQ(made.descriptor, rgb8);
}

TEST(scaledown, each_format_mixes_its_own_samples) {
    const std::tuple<std::uint32_t, std::vector<int>, std::vector<int>, std::vector<int>> cases[] = {
        // x and x + 1: the right half is dropped.
        {0, {10, 20, 31, 99, 99}, {10, 20, 30, 99, 99}, {15, 25}},
        // 2x and 2x + 1.
        {8, {1, 2, 3, 5, 6, 7}, {1, 2, 3, 5, 6, 9}, {3, 4, 5}},
        {10, {4, 8, 12, 0, 0, 0}, {0, 0, 0, 0, 0, 3}, {1, 2, 3}},
        // Bytes c and 3 + c.
        {9, {1, 2, 3, 4, 5, 6, 7, 8}, {1, 2, 3, 4, 5, 6, 7, 8}, {(1 + 4) / 2, (2 + 5) / 2, (3 + 6) / 2, 5}},
        {11, {0, 0, 0, 100, 0, 0, 0, 200}, {0, 0, 0, 100, 0, 0, 0, 200}, {50, 0, 0, 50}},
    };
    for (const auto& [format, lower, upper, expected] : cases) {
        const std::uint32_t channels = components(format);
        image2d source = noise(std::uint32_t(lower.size()) / channels, 3, {format, 1, 3}, 2), half;
        std::copy(lower.begin(), lower.end(), source.row(0));
        std::copy(upper.begin(), upper.end(), source.row(1));
        ASSERT_TRUE(scaledown(half, source));
        EXPECT_EQ(bytes(half), expected) << format;
        EXPECT_EQ(half.width, source.width / 2);
        EXPECT_EQ(half.height, 1u);
        EXPECT_EQ(half.descriptor, source.descriptor);
    }
    image2d half;
    ASSERT_TRUE(scaledown(half, noise(1, 1)));
    EXPECT_EQ(half.width + half.height, 0u);
}

// The formula per pixel.
std::vector<int> plain_normals(const image2d& heights) {
    std::vector<int> all;
    for (std::uint32_t y = 0; y < heights.height; ++y)
        for (std::uint32_t x = 0; x < heights.width; ++x) {
            const normal n =
                normal_of_heights(*heights.pixel(x, y), *heights.pixel((x + 1) % heights.width, y),
                                  *heights.pixel(x, (y + 1) % heights.height));
            for (const int v : {n.x, n.y, n.z})
                all.push_back(static_cast<unsigned char>(v));
        }
    return all;
}

TEST(normalmap, follows_the_slopes_and_wraps_around) {
    image2d heights = noise(3, 2), map;
    for (std::uint32_t y = 0; y < 2; ++y)
        for (std::uint32_t x = 0; x < 3; ++x)
            *heights.pixel(x, y) = x == 2 ? 255 : y == 1 ? 51 : 0;
    ASSERT_TRUE(normalmap(map, heights));
    EXPECT_EQ(map.descriptor, signed_rgb8);
    std::vector<int> normals;
    for (const int b : bytes(map))
        normals.push_back(static_cast<signed char>(b));
    normals.resize(4 * 3);
    // (0, 0.2, 1 + sqrt(0.96)) and (1, 0.2, sqrt(0.96)) at unit length; one against the left-most column, and
    // one against the bottom row.
    EXPECT_EQ(normals, (std::vector<int>{0, 13, 126, 90, 18, 88, -90, 0, 90, 0, -13, 126}));

    ASSERT_TRUE(normalmap(map, noise(1, 1)));
    EXPECT_EQ(bytes(map), (std::vector<int>{0, 0, 127})) << "a flat map";
}

TEST(normalmap, follows_the_formula_in_any_layout) {
    for (const std::uint32_t skips : {0u, 3u}) {
        image2d heights = noise(301, 203, {}, skips), map;
        if (skips) heights.store = std::make_shared<pixel_store>(pixel_store{0, 1});
        ASSERT_TRUE(normalmap(map, heights));
        EXPECT_EQ(map.store, heights.store);
        EXPECT_EQ(bytes(map), plain_normals(heights));
    }
}

TEST(normalmap, shares_what_is_a_normal_map_or_of_no_use) {
    constexpr pixel_descriptor signed_grey8 = {pixel_format::luminance, sample_type::signed_integer,
                                               bits_class::bits_8};
    struct {
        pixel_descriptor descriptor;
        std::uint8_t topdown;
        bool result;
        const char* line;
    } const cases[] = {
        {rgb8, 0, true, ""},
        {signed_rgb8, 0, true, ""},
        {rgb8, 1, false, "normalmap(): compressed format not supported.\n"},
        {rgb16, 0, false, "normalmap(): image type not supported.\n"},
        {signed_grey8, 0, false, "normalmap(): image type not supported.\n"},
        {grey1, 0, false, "normalmap(): image type not supported.\n"},
        {rgba8, 0, false, "normalmap(): image type not supported.\n"},
    };
    for (const auto& c : cases) {
        image2d source = noise(4, 4, c.descriptor), made;
        source.topdown = c.topdown;
        EXPECT_EQ(said([&] { EXPECT_EQ(normalmap(made, source), c.result); }), c.line);
        EXPECT_EQ(made.pixels.data(), source.pixels.data());
        EXPECT_EQ(made.descriptor, source.descriptor);
    }
    image2d empty = noise(4, 4), made;
    empty.pixels.release();
    EXPECT_EQ(said([&] { EXPECT_FALSE(normalmap(made, empty)); }), "normalmap allocate() fail.\n");
    EXPECT_EQ(made.width, 4u);
}

TEST(expand_color_index, every_width_of_numbers_and_numbers_without_a_colour) {
    const std::tuple<std::uint32_t, std::vector<unsigned char>, std::vector<int>> cases[] = {
        {0, {0b01010000}, {0, 1, 0}},
        {1, {0b00011011}, {0, 1, 2, 3}},
        {2, {0x10, 0x20}, {1, 0, 2}},
        {3, {2, 255, 0}, {2, 255, 0}},
    };
    for (const auto& [bits, row, numbers] : cases) {
        image2d source = noise(std::uint32_t(numbers.size()), 1, {17, 1, bits}), made;
        std::copy(row.begin(), row.end(), source.row(0));
        ASSERT_TRUE(source.colors.allocate(3));
        for (int i = 0; i < 3; ++i)
            source.colors.set(i, static_cast<unsigned char>(10 + i), 20, 30);
        ASSERT_TRUE(expand_color_index(made, source));
        EXPECT_EQ(made.descriptor, rgb8);
        std::vector<int> expected;
        for (const int n : numbers)
            for (const int v : {10 + n, 20, 30})
                expected.push_back(n < 3 ? v : 0);
        EXPECT_EQ(bytes(made), expected);
    }
    image2d skipped = noise(3, 2, {17, 1, 0}, 5), made;
    std::fill_n(skipped.pixels.data(), skipped.pixels.size(), 0);
    *skipped.row(1) = 0b00000101;
    ASSERT_TRUE(skipped.colors.allocate(2));
    skipped.colors.set(1, 1, 1, 1);
    ASSERT_TRUE(expand_color_index(made, skipped));
    EXPECT_EQ(bytes(made), (std::vector<int>{0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 0, 0, 0, 1, 1, 1}));
}

} // namespace
