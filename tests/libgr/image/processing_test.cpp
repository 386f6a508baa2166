#include "libgr/image/normal.h"
#include "libgr/image/processing.h"
#include "libgr/image/row_kernels.h"
#include "pictures.h"
#include "support/capture.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

using namespace libgr;
using pictures::bytes;
using pictures::noise;
using test_support::capture;

TEST(rgb2grey, single_precision_truncated) {
    image2d colours = noise(4, 1, {8, 1, 3}), grey;
    const unsigned char rgb[] = {255, 255, 255, 1, 2, 3, 10, 200, 30, 0, 0, 0};
    std::memcpy(colours.row(0), rgb, sizeof rgb);
    ASSERT_TRUE(rgb2grey(grey, colours));
    // 255 * 0.587f is a little less than the exact product, and so is the sum of all three.
    EXPECT_EQ(bytes(grey), (std::vector<int>{int(255 * 0.299f + 255 * 0.587f + 255 * 0.114f), 1, 123, 0}));
    EXPECT_EQ(grey.descriptor, (pixel_descriptor{0, 1, 3}));
    ASSERT_TRUE(rgb2grey(colours, colours)) << "in place";
    EXPECT_EQ(bytes(colours), bytes(grey));
}

TEST(rgb2grey, says_what_is_wrong_with_the_source) {
    struct {
        pixel_descriptor descriptor;
        const char* line;
    } const cases[] = {
        {{10, 1, 3}, "10: image format is not RGB.\n"},
        {{8, 0, 3}, "0: image type is not UINT.\n"},
        {{8, 1, 5}, "5: image bits is not 8.\n"},
    };
    for (const auto& c : cases) {
        capture err(std::cerr);
        image2d made;
        EXPECT_FALSE(rgb2grey(made, noise(2, 2, c.descriptor)));
        EXPECT_EQ(err.text(), c.line);
    }
}

TEST(row_kernels, the_fast_ones_give_the_bytes_of_the_plain_ones) {
    std::mt19937 random(7);
    const row_kernels::set &plain = row_kernels::plain, &fast = row_kernels::best();
    const std::vector<std::size_t> lengths = {0, 1, 2, 7, 8, 10, 11, 12, 31, 32, 33, 34, 35, 64, 65, 1000};
    for (const std::size_t n : lengths) {
        // Rows of exactly the bytes that may be read, so that the sanitizer sees any other.
        for (const std::size_t channels : {1u, 3u, 4u}) {
            std::vector<unsigned char> a(2 * n * channels), b(a.size()), slow(n * channels), quick(slow);
            for (std::size_t i = 0; i < a.size(); ++i) {
                a[i] = static_cast<unsigned char>(random());
                b[i] = static_cast<unsigned char>(i % 3 ? random() : 255);
            }
            const auto halve = channels == 1   ? &row_kernels::set::halve_luminance
                               : channels == 3 ? &row_kernels::set::halve_3
                                               : &row_kernels::set::halve_4;
            (plain.*halve)(slow.data(), a.data(), b.data(), n);
            (fast.*halve)(quick.data(), a.data(), b.data(), n);
            EXPECT_EQ(slow, quick) << n << " pixels, " << channels << " channels";
        }
        std::vector<unsigned char> here(n), above(n), slow(3 * n), quick(3 * n);
        for (std::size_t i = 0; i < n; ++i) {
            here[i] = static_cast<unsigned char>(random());
            above[i] = static_cast<unsigned char>(random());
        }
        plain.normals(slow.data(), here.data(), above.data(), n);
        fast.normals(quick.data(), here.data(), above.data(), n);
        EXPECT_EQ(slow, quick) << n << " normals";
    }
}

TEST(row_kernels, grey_of_every_colour) {
    std::vector<unsigned char> colours(3 * 65536), slow(65536), fast(65536);
    for (int red = 0; red < 256; ++red) {
        for (int i = 0; i < 65536; ++i) {
            colours[3 * i] = static_cast<unsigned char>(red);
            colours[3 * i + 1] = static_cast<unsigned char>(i >> 8);
            colours[3 * i + 2] = static_cast<unsigned char>(i);
        }
        row_kernels::plain.grey(slow.data(), colours.data(), slow.size());
        row_kernels::best().grey(fast.data(), colours.data(), fast.size());
        ASSERT_EQ(slow, fast) << red;
    }
    for (std::size_t n = 0; n < 70; ++n) {
        std::vector<unsigned char> few(colours.begin(), colours.begin() + 3 * n), to(n);
        row_kernels::best().grey(to.data(), few.data(), n);
        EXPECT_TRUE(std::equal(to.begin(), to.end(), fast.begin())) << n;
    }
}

TEST(scaledown, each_format_mixes_its_own_samples) {
    struct {
        std::uint32_t format;
        std::vector<int> lower, upper, expected;
    } const cases[] = {
        // x and x + 1: the right half is dropped.
        {0, {10, 20, 31, 99, 99}, {10, 20, 30, 99, 99}, {15, 25}},
        // 2x and 2x + 1.
        {8,
         {1, 2, 3, 5, 6, 7, 255, 255, 255, 255, 255, 255},
         {1, 2, 3, 5, 6, 9, 255, 255, 255, 255, 255, 255},
         {3, 4, 5, 255, 255, 255}},
        {10, {4, 8, 12, 0, 0, 0}, {0, 0, 0, 0, 0, 3}, {1, 2, 3}},
        // Bytes c and 3 + c.
        {9, {1, 2, 3, 4, 5, 6, 7, 8}, {1, 2, 3, 4, 5, 6, 7, 8}, {(1 + 4) / 2, (2 + 5) / 2, (3 + 6) / 2, 5}},
        {11, {0, 0, 0, 100, 0, 0, 0, 200}, {0, 0, 0, 100, 0, 0, 0, 200}, {50, 0, 0, 50}},
    };
    for (const auto& c : cases) {
        const std::uint32_t channels = components(c.format);
        image2d source = noise(std::uint32_t(c.lower.size()) / channels, 3, {c.format, 1, 3}, 2), half;
        std::copy(c.lower.begin(), c.lower.end(), source.row(0));
        std::copy(c.upper.begin(), c.upper.end(), source.row(1));
        ASSERT_TRUE(scaledown(half, source));
        EXPECT_EQ(bytes(half), c.expected) << c.format;
        EXPECT_EQ(half.height, 1u);
        EXPECT_EQ(half.descriptor, source.descriptor);
    }
}

TEST(scaledown, sizes_and_refusals) {
    image2d half;
    ASSERT_TRUE(scaledown(half, noise(5, 3, {8, 1, 3})));
    EXPECT_EQ(half.width, 2u);
    EXPECT_EQ(half.height, 1u);
    ASSERT_TRUE(scaledown(half, noise(1, 1)));
    EXPECT_EQ(half.width + half.height, 0u);
    for (const pixel_descriptor d :
         {pixel_descriptor{1, 1, 3}, {17, 1, 3}, {0, 1, 0}, {8, 1, 5}, {11, 1, 11}}) {
        capture err(std::cerr);
        EXPECT_FALSE(scaledown(half, noise(4, 4, d)));
        EXPECT_EQ(err.text(), "scaledown():: unsupported format.\n");
    }
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
    EXPECT_EQ(map.descriptor, (pixel_descriptor{8, 0, 3}));
    const auto normal_at = [&](std::uint32_t x, std::uint32_t y) {
        const auto* n = reinterpret_cast<const signed char*>(map.pixel(x, y));
        return std::vector<int>{n[0], n[1], n[2]};
    };
    // Worked out by hand: (0, 0.2, 1 + sqrt(0.96)) and (1, 0.2, sqrt(0.96)) brought to unit length.
    EXPECT_EQ(normal_at(0, 0), (std::vector<int>{0, 13, 126}));
    EXPECT_EQ(normal_at(1, 0), (std::vector<int>{90, 18, 88}));
    EXPECT_EQ(normal_at(2, 0), (std::vector<int>{-90, 0, 90})) << "compared with the left-most column";
    EXPECT_EQ(normal_at(0, 1), (std::vector<int>{0, -13, 126})) << "compared with the bottom row";

    ASSERT_TRUE(normalmap(map, noise(1, 1)));
    EXPECT_EQ(bytes(map), (std::vector<int>{0, 0, 127})) << "a flat map";
}

TEST(normalmap, follows_the_formula_in_any_layout) {
    for (const std::uint32_t skips : {0u, 3u}) {
        const image2d heights = noise(301, 203, {}, skips);
        image2d map;
        ASSERT_TRUE(normalmap(map, heights));
        EXPECT_EQ(bytes(map), plain_normals(heights));
    }
}

TEST(normalmap, follows_the_formula_for_any_three_heights) {
    image2d heights = noise(512, 512), map;
    for (int here = 0; here < 256; here += 5) {
        for (std::uint32_t i = 0; i < 256; ++i) {
            std::memset(heights.row(2 * i + 1), int(i), 512);
            for (std::uint32_t right = 0; right < 256; ++right) {
                *heights.pixel(2 * right, 2 * i) = static_cast<unsigned char>(here);
                *heights.pixel(2 * right + 1, 2 * i) = static_cast<unsigned char>(right);
            }
        }
        ASSERT_TRUE(normalmap(map, heights));
        for (std::uint32_t above = 0; above < 256; ++above)
            for (std::uint32_t right = 0; right < 256; ++right) {
                const normal n = normal_of_heights(here, int(right), int(above));
                ASSERT_EQ(std::memcmp(map.pixel(2 * right, 2 * above), &n, 3), 0)
                    << here << ' ' << right << ' ' << above;
            }
    }
}

TEST(normalmap, shares_what_is_a_normal_map_or_of_no_use) {
    struct {
        pixel_descriptor descriptor;
        std::uint8_t topdown;
        bool result;
        const char* line;
    } const cases[] = {
        {{8, 1, 3}, 0, true, ""},
        {{8, 0, 3}, 0, true, ""},
        {{8, 1, 3}, 1, false, "normalmap(): compressed format not supported.\n"},
        {{8, 1, 5}, 0, false, "normalmap(): image type not supported.\n"},
        {{0, 0, 3}, 0, false, "normalmap(): image type not supported.\n"},
        {{0, 1, 0}, 0, false, "normalmap(): image type not supported.\n"},
        {{9, 1, 3}, 0, false, "normalmap(): image type not supported.\n"},
    };
    for (const auto& c : cases) {
        capture err(std::cerr);
        image2d source = noise(4, 4, c.descriptor), made;
        source.topdown = c.topdown;
        EXPECT_EQ(normalmap(made, source), c.result);
        EXPECT_EQ(err.text(), c.line);
        EXPECT_EQ(made.pixels.data(), source.pixels.data());
        EXPECT_EQ(made.descriptor, source.descriptor);
    }
    capture err(std::cerr);
    image2d empty = noise(4, 4), made;
    empty.pixels.release();
    EXPECT_FALSE(normalmap(made, empty));
    EXPECT_EQ(err.text(), "normalmap allocate() fail.\n");
    EXPECT_EQ(made.width, 4u);
}

TEST(expand_color_index, every_width_of_numbers_and_numbers_without_a_colour) {
    struct {
        std::uint32_t bits;
        std::vector<unsigned char> row;
        std::vector<int> numbers;
    } const cases[] = {
        {0, {0b01010000}, {0, 1, 0}},
        {1, {0b00011011}, {0, 1, 2, 3}},
        {2, {0x10, 0x20}, {1, 0, 2}},
        {3, {2, 255, 0}, {2, 255, 0}},
    };
    for (const auto& c : cases) {
        image2d source = noise(std::uint32_t(c.numbers.size()), 1, {17, 1, c.bits}), made;
        std::copy(c.row.begin(), c.row.end(), source.row(0));
        ASSERT_TRUE(source.colors.allocate(3));
        for (int i = 0; i < 3; ++i)
            source.colors.set(i, static_cast<unsigned char>(10 + i), 20, 30);
        ASSERT_TRUE(expand_color_index(made, source));
        EXPECT_EQ(made.descriptor, (pixel_descriptor{8, 1, 3}));
        std::vector<int> expected;
        for (const int n : c.numbers)
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
