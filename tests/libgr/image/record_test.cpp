#include "libgr/image/image.h"

#include <gtest/gtest.h>

namespace {

using namespace libgr;

TEST(descriptor, bits_per_pixel) {
    using namespace pixel_format;
    using namespace bits_class;
    const std::array<std::uint32_t, 3> cases[] = {{luminance, bits_1, 1},
                                                  {luminance_alpha, bits_4, 8},
                                                  {rgb, bits_8, 24},
                                                  {bgra, bits_64, 256},
                                                  {depth_stencil, bits_24, 48},
                                                  {special_4, bits_32, 128},
                                                  {special_2, bits_8, 16},
                                                  {bgr, packed_5_6_5, 16},
                                                  {bgra, packed_1_5_5_5, 16},
                                                  {rgba, packed_2_10_10_10, 32},
                                                  {luminance_alpha, packed_12_4, 16},
                                                  {rgba, none, 0}};
    for (const auto& [format, bits, expected] : cases)
        EXPECT_EQ(bits_per_pixel({format, 1, bits}), expected) << format << ' ' << bits;
}

TEST(descriptor_death, numbers_outside_the_tables_stop_the_program) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(bits_per_pixel({18, 1, 3}), "pixel format 18");
    EXPECT_DEATH(bits_per_pixel({0, 1, 16}), "bits class 16");
}

TEST(image2d, rows_take_whole_bytes_and_the_alignment) {
    constexpr pixel_descriptor grey12 = kinds::unsigned_samples(pixel_format::luminance, bits_class::bits_12);
    struct {
        pixel_descriptor descriptor;
        std::uint32_t width, row_length, alignment;
        std::uint64_t stride;
    } const cases[] = {{kinds::grey1, 1, 0, 0, 4},
                       {kinds::grey1, 33, 0, 0, 8},
                       {kinds::grey1, 33, 0, 1, 5},
                       {grey12, 3, 0, 1, 5},
                       {kinds::rgb8, 5, 7, 0, 24},
                       {kinds::rgb8, 5, 0, 8, 16},
                       {kinds::rgba16, 0xffffffff, 0, 0, 0xffffffffull * 8}};
    for (const auto& c : cases) {
        image2d image;
        image.descriptor = c.descriptor;
        image.width = c.width, image.row_length = c.row_length;
        if (c.alignment) image.store = std::make_shared<pixel_store>(pixel_store{0, c.alignment});
        EXPECT_EQ(image.stride(), c.stride) << c.width << ' ' << c.row_length << ' ' << c.alignment;
    }
}

TEST(images, storage_covers_what_is_skipped_and_pixels_lie_behind_it) {
    image2d image;
    image.descriptor = kinds::rgb8;
    image.width = 3, image.height = 2;
    image.row_length = 10, image.skip_pixels = 4, image.skip_rows = 5;
    ASSERT_TRUE(image.allocate());
    EXPECT_TRUE(image.holds_pixels());
    EXPECT_EQ(image.pixels.size(), 7u * 32);
    EXPECT_EQ(image.pixel(2, 1) - image.pixels.data(), 6 * 32 + 6 * 3);
    image.height = 3;
    EXPECT_FALSE(image.holds_pixels());

    image3d stack;
    stack.width = 3, stack.height = 2, stack.depth = 4, stack.skip_rows = 1;
    ASSERT_TRUE(stack.allocate());
    EXPECT_EQ(stack.pixels.size(), 4u * 3 * 4);
    EXPECT_EQ(stack.pixel(2, 1, 3) - stack.pixels.data(), 3 * 12 + 2 * 4 + 2);
    image1d line;
    line.width = 5;
    ASSERT_TRUE(line.allocate());
    EXPECT_EQ(line.pixels.size(), 8u);
    EXPECT_EQ(line.pixel(4) - line.pixels.data(), 4);

    // A size that no storage can have.
    image.descriptor = {pixel_format::rgba, 1, bits_class::bits_64};
    image.row_length = 0;
    image.width = image.height = image.skip_rows = 0xffffffff;
    EXPECT_FALSE(image.allocate() || image.holds_pixels());
    stack.width = stack.height = stack.depth = stack.skip_rows = 0xffffffff;
    EXPECT_FALSE(stack.allocate());
    image.width = image.skip_rows = 0;
    EXPECT_TRUE(image.allocate()) << "a picture without pixels is legal";
}

TEST(images, assignment_shares_pixels_and_colours) {
    image2d a, b;
    a.width = a.height = 2;
    a.skip_rows = 1;
    ASSERT_TRUE(a.allocate());
    ASSERT_TRUE(a.colors.allocate(2));
    a.colors.set(1, 255, 1, 0);
    b = a;
    *b.pixel(1, 1) = 9;
    EXPECT_EQ(*a.pixel(1, 1), 9);
    EXPECT_EQ(b.skip_rows, 1u);
    EXPECT_EQ(b.colors.red.data(), a.colors.red.data());
    EXPECT_EQ(b.colors.red[1], 0xffff);
    EXPECT_EQ(b.colors.green[1], 0x0101);
}

} // namespace
