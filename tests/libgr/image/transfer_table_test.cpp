// The table against the names of the real GL headers.
#include "libgr/image/transfer_table.h"
#include "support/capture.h"

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#endif
#include <GL/gl.h>
#include <GL/glext.h>
#include <gtest/gtest.h>

namespace {

using namespace libgr;

constexpr std::uint32_t s = 0, u = 1, f = 2;

TEST(transfer_table, agrees_with_the_names_of_gl) {
    struct {
        pixel_descriptor descriptor;
        transfer expected;
    } const cases[] = {
        {{0, u, 2}, {GL_LUMINANCE4, GL_LUMINANCE, GL_UNSIGNED_BYTE}},
        {{0, u, 3}, {GL_LUMINANCE8, GL_LUMINANCE, GL_UNSIGNED_BYTE}},
        {{0, s, 4}, {GL_LUMINANCE12, GL_LUMINANCE, GL_SHORT}},
        {{0, u, 7}, {GL_LUMINANCE, GL_LUMINANCE, GL_UNSIGNED_INT}},
        {{0, f, 5}, {GL_LUMINANCE16F_ARB, GL_LUMINANCE, GL_HALF_FLOAT}},
        {{1, u, 5}, {GL_LUMINANCE16_ALPHA16, GL_LUMINANCE_ALPHA, GL_UNSIGNED_SHORT}},
        {{1, s, 2}, {GL_LUMINANCE4_ALPHA4, GL_LUMINANCE_ALPHA, GL_BYTE}},
        {{1, u, 13}, {GL_LUMINANCE6_ALPHA2, GL_LUMINANCE_ALPHA, GL_UNSIGNED_BYTE}},
        {{1, u, 14}, {GL_LUMINANCE12_ALPHA4, GL_LUMINANCE_ALPHA, GL_UNSIGNED_SHORT}},
        {{2, f, 7}, {GL_INTENSITY32F_ARB, GL_INTENSITY, GL_FLOAT}},
        {{2, u, 5}, {GL_INTENSITY16, GL_INTENSITY, GL_UNSIGNED_SHORT}},
        {{3, s, 3}, {GL_R8I, GL_RED, GL_BYTE}},
        {{3, u, 3}, {GL_R8UI, GL_RED, GL_UNSIGNED_BYTE}},
        {{3, u, 5}, {GL_R16UI, GL_RED, GL_UNSIGNED_SHORT}},
        {{3, s, 7}, {GL_R32I, GL_RED, GL_INT}},
        {{3, f, 7}, {GL_R32F, GL_RED, GL_FLOAT}},
        {{4, u, 3}, {GL_GREEN, GL_GREEN, GL_UNSIGNED_BYTE}},
        {{5, f, 5}, {GL_BLUE, GL_BLUE, GL_HALF_FLOAT}},
        {{6, u, 2}, {GL_ALPHA4, GL_ALPHA, GL_UNSIGNED_BYTE}},
        {{6, u, 3}, {GL_ALPHA, GL_ALPHA, GL_UNSIGNED_BYTE}},
        {{6, f, 7}, {GL_ALPHA32F_ARB, GL_ALPHA, GL_FLOAT}},
        {{8, u, 2}, {GL_RGB4, GL_RGB, GL_UNSIGNED_BYTE}},
        {{8, s, 3}, {GL_RGB8, GL_RGB, GL_BYTE}},
        {{8, u, 4}, {GL_RGB12, GL_RGB, GL_UNSIGNED_SHORT}},
        {{8, u, 5}, {GL_RGB16, GL_RGB, GL_UNSIGNED_SHORT}},
        {{8, f, 5}, {GL_RGB16F, GL_RGB, GL_HALF_FLOAT}},
        {{8, f, 7}, {GL_RGB32F, GL_RGB, GL_FLOAT}},
        {{8, u, 9}, {GL_R3_G3_B2, GL_RGB, GL_UNSIGNED_BYTE_2_3_3_REV}},
        {{10, u, 10}, {GL_RGB5, GL_BGR, GL_UNSIGNED_SHORT_5_6_5_REV}},
        {{10, u, 3}, {GL_RGB8, GL_BGR, GL_UNSIGNED_BYTE}},
        {{9, u, 2}, {GL_RGBA4, GL_RGBA, GL_UNSIGNED_SHORT_4_4_4_4_REV}},
        {{9, u, 3}, {GL_RGBA8, GL_RGBA, GL_UNSIGNED_BYTE}},
        {{9, s, 5}, {GL_RGBA16, GL_RGBA, GL_SHORT}},
        {{9, f, 7}, {GL_RGBA32F, GL_RGBA, GL_FLOAT}},
        {{11, u, 3}, {GL_RGBA8, GL_BGRA, GL_UNSIGNED_BYTE}},
        {{11, u, 11}, {GL_RGB5_A1, GL_BGRA, GL_UNSIGNED_SHORT_1_5_5_5_REV}},
        {{9, u, 12}, {GL_RGB10_A2, GL_RGBA, GL_UNSIGNED_INT_2_10_10_10_REV}},
        {{12, f, 5}, {GL_DEPTH_COMPONENT16, GL_DEPTH_COMPONENT, GL_DEPTH_COMPONENT}},
        {{12, f, 6}, {GL_DEPTH_COMPONENT24, GL_DEPTH_COMPONENT, GL_DEPTH_COMPONENT}},
        {{12, f, 7}, {GL_DEPTH_COMPONENT32, GL_DEPTH_COMPONENT, GL_DEPTH_COMPONENT}},
        {{14, u, 3}, {GL_RGB8, GL_RGB, GL_UNSIGNED_BYTE}},
        {{15, u, 3}, {GL_RGBA8, GL_RGBA, GL_UNSIGNED_BYTE}},
        {{17, u, 0}, {GL_RGB8, GL_COLOR_INDEX, GL_BITMAP}},
        {{17, u, 3}, {GL_RGB8, GL_COLOR_INDEX, GL_UNSIGNED_BYTE}},
    };
    for (const auto& [d, expected] : cases) {
        transfer found{};
        EXPECT_TRUE(find_transfer(d, found)) << d.format << ' ' << d.type << ' ' << d.bits;
        EXPECT_EQ(found, expected) << d.format << ' ' << d.type << ' ' << d.bits << std::hex << " gives "
                                   << found.internal_format << ' ' << found.format << ' ' << found.type;
    }
}

TEST(transfer_table, compresses_unsigned_pictures_on_request) {
    transfer found{};
    ASSERT_TRUE(find_transfer({10, u, 3}, found, true));
    EXPECT_EQ(found, (transfer{GL_COMPRESSED_RGB, GL_BGR, GL_UNSIGNED_BYTE}));
    ASSERT_TRUE(find_transfer({9, u, 3}, found, true));
    EXPECT_EQ(found.internal_format, std::uint32_t(GL_COMPRESSED_RGBA));
    ASSERT_TRUE(find_transfer({8, s, 3}, found, true));
    EXPECT_EQ(found.internal_format, std::uint32_t(GL_RGB8));
}

TEST(transfer_table, says_what_it_does_not_support) {
    const pixel_descriptor cases[] = {
        {7, u, 3},  {13, u, 6}, {16, u, 3}, {8, u, 6}, {0, f, 8},  {9, u, 1},  {2, s, 4},
        {12, u, 5}, {17, u, 2}, {17, s, 3}, {0, u, 0}, {8, u, 11}, {18, u, 3}, {8, 3, 3},
    };
    for (const pixel_descriptor& d : cases) {
        test_support::capture err(std::cerr);
        transfer found{1, 2, 3};
        EXPECT_FALSE(find_transfer(d, found)) << d.format << ' ' << d.type << ' ' << d.bits;
        EXPECT_EQ(found, (transfer{1, 2, 3}));
        EXPECT_EQ(err.text(), "Not supported image format! imgformat:" + std::to_string(d.format) +
                                  " imgtype:" + std::to_string(d.type) +
                                  " imgbits:" + std::to_string(d.bits) + "\n");
    }
}

} // namespace
