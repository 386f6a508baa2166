#pragma once
// Describes the samples of a picture: the channels of a pixel, and the type and width of their numbers.

#include <cstdint>

namespace libgr {

// Which channels, in their order in storage.
namespace pixel_format {
enum : std::uint32_t {
    luminance = 0,
    luminance_alpha = 1,
    intensity = 2,
    red = 3,
    green = 4,
    blue = 5,
    alpha = 6,
    red_green = 7,
    rgb = 8,
    rgba = 9,
    bgr = 10,
    bgra = 11,
    depth = 12,
    depth_stencil = 13,
    ycbcr = 14,     // as a JPEG file has it, without colour conversion
    special_4 = 15, // four channels that textures take for RGBA
    special_2 = 16, // two channels
    color_index = 17,
    count = 18
};
} // namespace pixel_format

// How a sample is a number.
namespace sample_type {
enum : std::uint32_t { signed_integer = 0, unsigned_integer = 1, floating = 2 };
} // namespace sample_type

// How wide a sample is; of the packed classes, how wide a whole pixel and its channels are, the channel named
// last in the lowest bits.
namespace bits_class {
enum : std::uint32_t {
    bits_1 = 0,
    bits_2 = 1,
    bits_4 = 2,
    bits_8 = 3,
    bits_12 = 4,
    bits_16 = 5,
    bits_24 = 6,
    bits_32 = 7,
    bits_64 = 8,
    packed_3_3_2 = 9,
    packed_5_6_5 = 10,
    packed_1_5_5_5 = 11,
    packed_2_10_10_10 = 12,
    packed_6_2 = 13,  // luminance and alpha
    packed_12_4 = 14, // luminance and alpha
    none = 15,
    count = 16
};
} // namespace bits_class

struct pixel_descriptor {
    std::uint32_t format = pixel_format::luminance;
    std::uint32_t type = sample_type::unsigned_integer;
    std::uint32_t bits = bits_class::bits_8;

    friend bool operator==(const pixel_descriptor&, const pixel_descriptor&) = default;
};

// The kinds that most files and textures have, by channels and bits of a sample.
namespace kinds {
constexpr pixel_descriptor unsigned_samples(std::uint32_t format, std::uint32_t bits = bits_class::bits_8) {
    return {format, sample_type::unsigned_integer, bits};
}
inline constexpr pixel_descriptor grey1 = unsigned_samples(pixel_format::luminance, bits_class::bits_1);
inline constexpr pixel_descriptor grey2 = unsigned_samples(pixel_format::luminance, bits_class::bits_2);
inline constexpr pixel_descriptor grey4 = unsigned_samples(pixel_format::luminance, bits_class::bits_4);
inline constexpr pixel_descriptor grey8 = unsigned_samples(pixel_format::luminance);
inline constexpr pixel_descriptor grey16 = unsigned_samples(pixel_format::luminance, bits_class::bits_16);
inline constexpr pixel_descriptor grey_alpha8 = unsigned_samples(pixel_format::luminance_alpha);
inline constexpr pixel_descriptor grey_alpha16 =
    unsigned_samples(pixel_format::luminance_alpha, bits_class::bits_16);
inline constexpr pixel_descriptor rgb8 = unsigned_samples(pixel_format::rgb);
inline constexpr pixel_descriptor rgb16 = unsigned_samples(pixel_format::rgb, bits_class::bits_16);
inline constexpr pixel_descriptor rgba8 = unsigned_samples(pixel_format::rgba);
inline constexpr pixel_descriptor rgba16 = unsigned_samples(pixel_format::rgba, bits_class::bits_16);
inline constexpr pixel_descriptor bgr8 = unsigned_samples(pixel_format::bgr);
inline constexpr pixel_descriptor bgra8 = unsigned_samples(pixel_format::bgra);
inline constexpr pixel_descriptor bgra5551 = unsigned_samples(pixel_format::bgra, bits_class::packed_1_5_5_5);
inline constexpr pixel_descriptor ycbcr8 = unsigned_samples(pixel_format::ycbcr);
inline constexpr pixel_descriptor signed_rgb8 = {pixel_format::rgb, sample_type::signed_integer,
                                                 bits_class::bits_8};
} // namespace kinds

// Channels of a pixel, 1 to 4. An unknown format is a programming error: the process ends with a message, as
// it does for an unknown bits class below.
std::uint32_t components(std::uint32_t format);

// Bits of one sample, 1 to 64; 0 for the packed classes and for `none`.
std::uint32_t bits_per_component(std::uint32_t bits);

// Bits of one pixel, 0 to 256. Pixels of less than 8 bits lie in a byte from its high bits down.
std::uint32_t bits_per_pixel(const pixel_descriptor& descriptor);

} // namespace libgr
