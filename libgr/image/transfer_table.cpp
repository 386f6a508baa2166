#include "libgr/image/transfer_table.h"

#include "libgr/image/gl_numbers.h"
#include "libutils/error_report.h"

#include <array>
#include <iostream>
#include <span>

namespace libgr {

namespace {

constexpr std::uint32_t s = sample_type::signed_integer;
constexpr std::uint32_t u = sample_type::unsigned_integer;
constexpr std::uint32_t f = sample_type::floating;
using namespace bits_class;

struct row {
    std::uint32_t type, bits; // of the descriptor
    std::uint32_t internal_format, gl_type;
};

constexpr row luminance_rows[] = {
    {s, bits_4, gl::LUMINANCE4, gl::BYTE},
    {s, bits_8, gl::LUMINANCE8, gl::BYTE},
    {s, bits_12, gl::LUMINANCE12, gl::SHORT},
    {s, bits_16, gl::LUMINANCE16, gl::SHORT},
    {s, bits_32, gl::LUMINANCE, gl::INT},
    {u, bits_4, gl::LUMINANCE4, gl::UNSIGNED_BYTE},
    {u, bits_8, gl::LUMINANCE8, gl::UNSIGNED_BYTE},
    {u, bits_12, gl::LUMINANCE12, gl::UNSIGNED_SHORT},
    {u, bits_16, gl::LUMINANCE16, gl::UNSIGNED_SHORT},
    {u, bits_32, gl::LUMINANCE, gl::UNSIGNED_INT},
    {f, bits_16, gl::LUMINANCE16F, gl::HALF_FLOAT},
    {f, bits_32, gl::LUMINANCE32F, gl::FLOAT},
};

constexpr row luminance_alpha_rows[] = {
    {s, bits_4, gl::LUMINANCE4_ALPHA4, gl::BYTE},
    {s, bits_8, gl::LUMINANCE8_ALPHA8, gl::BYTE},
    {s, bits_12, gl::LUMINANCE12_ALPHA12, gl::SHORT},
    {s, bits_16, gl::LUMINANCE16_ALPHA16, gl::SHORT},
    {s, bits_32, gl::LUMINANCE_ALPHA, gl::INT},
    {u, bits_4, gl::LUMINANCE4_ALPHA4, gl::UNSIGNED_BYTE},
    {u, bits_8, gl::LUMINANCE8_ALPHA8, gl::UNSIGNED_BYTE},
    {u, bits_12, gl::LUMINANCE12_ALPHA12, gl::UNSIGNED_SHORT},
    {u, bits_16, gl::LUMINANCE16_ALPHA16, gl::UNSIGNED_SHORT},
    {u, bits_32, gl::LUMINANCE_ALPHA, gl::UNSIGNED_INT},
    {u, packed_6_2, gl::LUMINANCE6_ALPHA2, gl::UNSIGNED_BYTE},
    {u, packed_12_4, gl::LUMINANCE12_ALPHA4, gl::UNSIGNED_SHORT},
    {f, bits_16, gl::LUMINANCE_ALPHA16F, gl::HALF_FLOAT},
    {f, bits_32, gl::LUMINANCE_ALPHA32F, gl::FLOAT},
};

constexpr row intensity_rows[] = {
    {s, bits_4, gl::INTENSITY4, gl::BYTE},           {s, bits_8, gl::INTENSITY8, gl::BYTE},
    {s, bits_16, gl::INTENSITY16, gl::SHORT},        {s, bits_32, gl::INTENSITY, gl::INT},
    {u, bits_4, gl::INTENSITY4, gl::UNSIGNED_BYTE},  {u, bits_8, gl::INTENSITY8, gl::UNSIGNED_BYTE},
    {u, bits_12, gl::INTENSITY, gl::UNSIGNED_SHORT}, {u, bits_16, gl::INTENSITY16, gl::UNSIGNED_SHORT},
    {u, bits_32, gl::INTENSITY, gl::UNSIGNED_INT},   {f, bits_16, gl::INTENSITY16F, gl::HALF_FLOAT},
    {f, bits_32, gl::INTENSITY32F, gl::FLOAT},
};

constexpr row red_rows[] = {
    {s, bits_4, gl::RED, gl::BYTE},
    {s, bits_8, gl::R8I, gl::BYTE},
    {s, bits_12, gl::RED, gl::SHORT},
    {s, bits_16, gl::R16I, gl::SHORT},
    {s, bits_32, gl::R32I, gl::INT},
    {u, bits_4, gl::RED, gl::UNSIGNED_BYTE},
    {u, bits_8, gl::R8UI, gl::UNSIGNED_BYTE},
    {u, bits_12, gl::RED, gl::UNSIGNED_SHORT},
    {u, bits_16, gl::R16UI, gl::UNSIGNED_SHORT},
    {u, bits_32, gl::R32UI, gl::UNSIGNED_INT},
    {f, bits_16, gl::R16F, gl::HALF_FLOAT},
    {f, bits_32, gl::R32F, gl::FLOAT},
};

// The channels that GL keeps in no size of their own.
template <std::uint32_t Unsized>
constexpr row unsized_rows[] = {
    {s, bits_4, Unsized, gl::BYTE},
    {s, bits_8, Unsized, gl::BYTE},
    {s, bits_12, Unsized, gl::SHORT},
    {s, bits_16, Unsized, gl::SHORT},
    {s, bits_32, Unsized, gl::INT},
    {u, bits_4, Unsized, gl::UNSIGNED_BYTE},
    {u, bits_8, Unsized, gl::UNSIGNED_BYTE},
    {u, bits_12, Unsized, gl::UNSIGNED_SHORT},
    {u, bits_16, Unsized, gl::UNSIGNED_SHORT},
    {u, bits_32, Unsized, gl::UNSIGNED_INT},
    {f, bits_16, Unsized, gl::HALF_FLOAT},
    {f, bits_32, Unsized, gl::FLOAT},
};

constexpr row alpha_rows[] = {
    {s, bits_4, gl::ALPHA4, gl::BYTE},
    {s, bits_8, gl::ALPHA, gl::BYTE},
    {s, bits_12, gl::ALPHA12, gl::SHORT},
    {s, bits_16, gl::ALPHA16, gl::SHORT},
    {s, bits_32, gl::ALPHA, gl::INT},
    {u, bits_4, gl::ALPHA4, gl::UNSIGNED_BYTE},
    {u, bits_8, gl::ALPHA, gl::UNSIGNED_BYTE},
    {u, bits_12, gl::ALPHA12, gl::UNSIGNED_SHORT},
    {u, bits_16, gl::ALPHA16, gl::UNSIGNED_SHORT},
    {u, bits_32, gl::ALPHA, gl::UNSIGNED_INT},
    {f, bits_16, gl::ALPHA16F, gl::HALF_FLOAT},
    {f, bits_32, gl::ALPHA32F, gl::FLOAT},
};

constexpr row rgb_rows[] = {
    {s, bits_4, gl::RGB4, gl::BYTE},
    {s, bits_8, gl::RGB8, gl::BYTE},
    {s, bits_12, gl::RGB12, gl::SHORT},
    {s, bits_16, gl::RGB16, gl::SHORT},
    {s, bits_32, gl::RGB, gl::INT},
    {u, bits_4, gl::RGB4, gl::UNSIGNED_BYTE},
    {u, bits_8, gl::RGB8, gl::UNSIGNED_BYTE},
    {u, bits_12, gl::RGB12, gl::UNSIGNED_SHORT},
    {u, bits_16, gl::RGB16, gl::UNSIGNED_SHORT},
    {u, bits_32, gl::RGB, gl::UNSIGNED_INT},
    {u, packed_3_3_2, gl::R3_G3_B2, gl::UNSIGNED_BYTE_2_3_3_REV},
    {u, packed_5_6_5, gl::RGB5, gl::UNSIGNED_SHORT_5_6_5_REV},
    {f, bits_16, gl::RGB16F, gl::HALF_FLOAT},
    {f, bits_32, gl::RGB32F, gl::FLOAT},
};

constexpr row rgba_rows[] = {
    {s, bits_4, gl::RGBA4, gl::BYTE},
    {s, bits_8, gl::RGBA8, gl::BYTE},
    {s, bits_12, gl::RGBA12, gl::SHORT},
    {s, bits_16, gl::RGBA16, gl::SHORT},
    {s, bits_32, gl::RGBA, gl::INT},
    {u, bits_4, gl::RGBA4, gl::UNSIGNED_SHORT_4_4_4_4_REV},
    {u, bits_8, gl::RGBA8, gl::UNSIGNED_BYTE},
    {u, bits_12, gl::RGBA12, gl::UNSIGNED_SHORT},
    {u, bits_16, gl::RGBA16, gl::UNSIGNED_SHORT},
    {u, bits_32, gl::RGBA, gl::UNSIGNED_INT},
    {u, packed_1_5_5_5, gl::RGB5_A1, gl::UNSIGNED_SHORT_1_5_5_5_REV},
    {u, packed_2_10_10_10, gl::RGB10_A2, gl::UNSIGNED_INT_2_10_10_10_REV},
    {f, bits_16, gl::RGBA16F, gl::HALF_FLOAT},
    {f, bits_32, gl::RGBA32F, gl::FLOAT},
};

// The type is GL's word for depth and not one for floats: an upload with it is refused by GL.
constexpr row depth_rows[] = {
    {f, bits_16, gl::DEPTH_COMPONENT16, gl::DEPTH_COMPONENT},
    {f, bits_24, gl::DEPTH_COMPONENT24, gl::DEPTH_COMPONENT},
    {f, bits_32, gl::DEPTH_COMPONENT32, gl::DEPTH_COMPONENT},
};

// GL keeps the colours that its colour maps give for the numbers.
constexpr row color_index_rows[] = {
    {u, bits_1, gl::RGB8, gl::BITMAP},
    {u, bits_8, gl::RGB8, gl::UNSIGNED_BYTE},
};

struct format_entry {
    std::uint32_t gl_format = gl::none; // none: no pixels of this format can be handed over
    std::uint32_t compressed = gl::none;
    std::span<const row> rows = {};
};

constexpr std::array<format_entry, pixel_format::count> entries = {{
    {gl::LUMINANCE, gl::COMPRESSED_LUMINANCE, luminance_rows},
    {gl::LUMINANCE_ALPHA, gl::COMPRESSED_LUMINANCE_ALPHA, luminance_alpha_rows},
    {gl::INTENSITY, gl::COMPRESSED_INTENSITY, intensity_rows},
    {gl::RED, gl::COMPRESSED_RED, red_rows},
    {gl::GREEN, gl::none, unsized_rows<gl::GREEN>},
    {gl::BLUE, gl::none, unsized_rows<gl::BLUE>},
    {gl::ALPHA, gl::COMPRESSED_ALPHA, alpha_rows},
    {}, // red and green
    {gl::RGB, gl::COMPRESSED_RGB, rgb_rows},
    {gl::RGBA, gl::COMPRESSED_RGBA, rgba_rows},
    {gl::BGR, gl::COMPRESSED_RGB, rgb_rows},
    {gl::BGRA, gl::COMPRESSED_RGBA, rgba_rows},
    {gl::DEPTH_COMPONENT, gl::none, depth_rows},
    {}, // depth and stencil
    {gl::RGB, gl::COMPRESSED_RGB, rgb_rows},
    {gl::RGBA, gl::COMPRESSED_RGBA, rgba_rows},
    {}, // the two-channel special format, which GL would take for RGB
    {gl::COLOR_INDEX, gl::none, color_index_rows},
}};

} // namespace

bool find_transfer(const pixel_descriptor& descriptor, transfer& found, bool compressed) {
    if (descriptor.format < entries.size()) {
        const format_entry& entry = entries[descriptor.format];
        for (const row& r : entry.rows) {
            if (r.type != descriptor.type || r.bits != descriptor.bits) continue;
            const bool compress = compressed && r.type == u && entry.compressed != gl::none;
            found = {compress ? entry.compressed : r.internal_format, entry.gl_format, r.gl_type};
            return true;
        }
    }
    libutils::error_report();
    std::cerr << "Not supported image format! imgformat:" << descriptor.format
              << " imgtype:" << descriptor.type << " imgbits:" << descriptor.bits << std::endl;
    return false;
}

} // namespace libgr
