#include "libgr/texture/transfer_table.h"

#include "libutils/report.h"

#include <GL/glew.h>

#include <array>
#include <span>

namespace libgr {

namespace {

constexpr std::uint32_t s = sample_type::signed_integer;
constexpr std::uint32_t u = sample_type::unsigned_integer;
constexpr std::uint32_t f = sample_type::floating;
using namespace bits_class;

struct row {
    std::uint32_t type, bits; // of the descriptor
    GLenum internal_format, gl_type;
};

constexpr row luminance_rows[] = {
    {s, bits_4, GL_LUMINANCE4, GL_BYTE},
    {s, bits_8, GL_LUMINANCE8, GL_BYTE},
    {s, bits_12, GL_LUMINANCE12, GL_SHORT},
    {s, bits_16, GL_LUMINANCE16, GL_SHORT},
    {s, bits_32, GL_LUMINANCE, GL_INT},
    {u, bits_4, GL_LUMINANCE4, GL_UNSIGNED_BYTE},
    {u, bits_8, GL_LUMINANCE8, GL_UNSIGNED_BYTE},
    {u, bits_12, GL_LUMINANCE12, GL_UNSIGNED_SHORT},
    {u, bits_16, GL_LUMINANCE16, GL_UNSIGNED_SHORT},
    {u, bits_32, GL_LUMINANCE, GL_UNSIGNED_INT},
    {f, bits_16, GL_LUMINANCE16F_ARB, GL_HALF_FLOAT},
    {f, bits_32, GL_LUMINANCE32F_ARB, GL_FLOAT},
};

constexpr row luminance_alpha_rows[] = {
    {s, bits_4, GL_LUMINANCE4_ALPHA4, GL_BYTE},
    {s, bits_8, GL_LUMINANCE8_ALPHA8, GL_BYTE},
    {s, bits_12, GL_LUMINANCE12_ALPHA12, GL_SHORT},
    {s, bits_16, GL_LUMINANCE16_ALPHA16, GL_SHORT},
    {s, bits_32, GL_LUMINANCE_ALPHA, GL_INT},
    {u, bits_4, GL_LUMINANCE4_ALPHA4, GL_UNSIGNED_BYTE},
    {u, bits_8, GL_LUMINANCE8_ALPHA8, GL_UNSIGNED_BYTE},
    {u, bits_12, GL_LUMINANCE12_ALPHA12, GL_UNSIGNED_SHORT},
    {u, bits_16, GL_LUMINANCE16_ALPHA16, GL_UNSIGNED_SHORT},
    {u, bits_32, GL_LUMINANCE_ALPHA, GL_UNSIGNED_INT},
    {u, packed_6_2, GL_LUMINANCE6_ALPHA2, GL_UNSIGNED_BYTE},
    {u, packed_12_4, GL_LUMINANCE12_ALPHA4, GL_UNSIGNED_SHORT},
    {f, bits_16, GL_LUMINANCE_ALPHA16F_ARB, GL_HALF_FLOAT},
    {f, bits_32, GL_LUMINANCE_ALPHA32F_ARB, GL_FLOAT},
};

constexpr row intensity_rows[] = {
    {s, bits_4, GL_INTENSITY4, GL_BYTE},           {s, bits_8, GL_INTENSITY8, GL_BYTE},
    {s, bits_16, GL_INTENSITY16, GL_SHORT},        {s, bits_32, GL_INTENSITY, GL_INT},
    {u, bits_4, GL_INTENSITY4, GL_UNSIGNED_BYTE},  {u, bits_8, GL_INTENSITY8, GL_UNSIGNED_BYTE},
    {u, bits_12, GL_INTENSITY, GL_UNSIGNED_SHORT}, {u, bits_16, GL_INTENSITY16, GL_UNSIGNED_SHORT},
    {u, bits_32, GL_INTENSITY, GL_UNSIGNED_INT},   {f, bits_16, GL_INTENSITY16F_ARB, GL_HALF_FLOAT},
    {f, bits_32, GL_INTENSITY32F_ARB, GL_FLOAT},
};

constexpr row red_rows[] = {
    {s, bits_4, GL_RED, GL_BYTE},
    {s, bits_8, GL_R8I, GL_BYTE},
    {s, bits_12, GL_RED, GL_SHORT},
    {s, bits_16, GL_R16I, GL_SHORT},
    {s, bits_32, GL_R32I, GL_INT},
    {u, bits_4, GL_RED, GL_UNSIGNED_BYTE},
    {u, bits_8, GL_R8UI, GL_UNSIGNED_BYTE},
    {u, bits_12, GL_RED, GL_UNSIGNED_SHORT},
    {u, bits_16, GL_R16UI, GL_UNSIGNED_SHORT},
    {u, bits_32, GL_R32UI, GL_UNSIGNED_INT},
    {f, bits_16, GL_R16F, GL_HALF_FLOAT},
    {f, bits_32, GL_R32F, GL_FLOAT},
};

// The channels that GL keeps in no size of their own.
template <GLenum Unsized>
constexpr row unsized_rows[] = {
    {s, bits_4, Unsized, GL_BYTE},
    {s, bits_8, Unsized, GL_BYTE},
    {s, bits_12, Unsized, GL_SHORT},
    {s, bits_16, Unsized, GL_SHORT},
    {s, bits_32, Unsized, GL_INT},
    {u, bits_4, Unsized, GL_UNSIGNED_BYTE},
    {u, bits_8, Unsized, GL_UNSIGNED_BYTE},
    {u, bits_12, Unsized, GL_UNSIGNED_SHORT},
    {u, bits_16, Unsized, GL_UNSIGNED_SHORT},
    {u, bits_32, Unsized, GL_UNSIGNED_INT},
    {f, bits_16, Unsized, GL_HALF_FLOAT},
    {f, bits_32, Unsized, GL_FLOAT},
};

constexpr row alpha_rows[] = {
    {s, bits_4, GL_ALPHA4, GL_BYTE},
    {s, bits_8, GL_ALPHA, GL_BYTE},
    {s, bits_12, GL_ALPHA12, GL_SHORT},
    {s, bits_16, GL_ALPHA16, GL_SHORT},
    {s, bits_32, GL_ALPHA, GL_INT},
    {u, bits_4, GL_ALPHA4, GL_UNSIGNED_BYTE},
    {u, bits_8, GL_ALPHA, GL_UNSIGNED_BYTE},
    {u, bits_12, GL_ALPHA12, GL_UNSIGNED_SHORT},
    {u, bits_16, GL_ALPHA16, GL_UNSIGNED_SHORT},
    {u, bits_32, GL_ALPHA, GL_UNSIGNED_INT},
    {f, bits_16, GL_ALPHA16F_ARB, GL_HALF_FLOAT},
    {f, bits_32, GL_ALPHA32F_ARB, GL_FLOAT},
};

constexpr row rgb_rows[] = {
    {s, bits_4, GL_RGB4, GL_BYTE},
    {s, bits_8, GL_RGB8_SNORM, GL_BYTE},
    {s, bits_12, GL_RGB12, GL_SHORT},
    {s, bits_16, GL_RGB16_SNORM, GL_SHORT},
    {s, bits_32, GL_RGB, GL_INT},
    {u, bits_4, GL_RGB4, GL_UNSIGNED_BYTE},
    {u, bits_8, GL_RGB8, GL_UNSIGNED_BYTE},
    {u, bits_12, GL_RGB12, GL_UNSIGNED_SHORT},
    {u, bits_16, GL_RGB16, GL_UNSIGNED_SHORT},
    {u, bits_32, GL_RGB, GL_UNSIGNED_INT},
    {u, packed_3_3_2, GL_R3_G3_B2, GL_UNSIGNED_BYTE_2_3_3_REV},
    {u, packed_5_6_5, GL_RGB5, GL_UNSIGNED_SHORT_5_6_5_REV},
    {f, bits_16, GL_RGB16F, GL_HALF_FLOAT},
    {f, bits_32, GL_RGB32F, GL_FLOAT},
};

constexpr row rgba_rows[] = {
    {s, bits_4, GL_RGBA4, GL_BYTE},
    {s, bits_8, GL_RGBA8_SNORM, GL_BYTE},
    {s, bits_12, GL_RGBA12, GL_SHORT},
    {s, bits_16, GL_RGBA16_SNORM, GL_SHORT},
    {s, bits_32, GL_RGBA, GL_INT},
    {u, bits_4, GL_RGBA4, GL_UNSIGNED_SHORT_4_4_4_4_REV},
    {u, bits_8, GL_RGBA8, GL_UNSIGNED_BYTE},
    {u, bits_12, GL_RGBA12, GL_UNSIGNED_SHORT},
    {u, bits_16, GL_RGBA16, GL_UNSIGNED_SHORT},
    {u, bits_32, GL_RGBA, GL_UNSIGNED_INT},
    {u, packed_1_5_5_5, GL_RGB5_A1, GL_UNSIGNED_SHORT_1_5_5_5_REV},
    {u, packed_2_10_10_10, GL_RGB10_A2, GL_UNSIGNED_INT_2_10_10_10_REV},
    {f, bits_16, GL_RGBA16F, GL_HALF_FLOAT},
    {f, bits_32, GL_RGBA32F, GL_FLOAT},
};

// The type is GL's word for depth and not one for floats: an upload with it is refused by GL.
constexpr row depth_rows[] = {
    {f, bits_16, GL_DEPTH_COMPONENT16, GL_DEPTH_COMPONENT},
    {f, bits_24, GL_DEPTH_COMPONENT24, GL_DEPTH_COMPONENT},
    {f, bits_32, GL_DEPTH_COMPONENT32, GL_DEPTH_COMPONENT},
};

// GL keeps the colours that its colour maps give for the numbers.
constexpr row color_index_rows[] = {
    {u, bits_1, GL_RGB8, GL_BITMAP},
    {u, bits_8, GL_RGB8, GL_UNSIGNED_BYTE},
};

struct format_entry {
    GLenum gl_format = GL_NONE; // none: no pixels of this format can be handed over
    GLenum compressed = GL_NONE;
    std::span<const row> rows = {};
};

constexpr std::array<format_entry, pixel_format::count> entries = {{
    {GL_LUMINANCE, GL_COMPRESSED_LUMINANCE, luminance_rows},
    {GL_LUMINANCE_ALPHA, GL_COMPRESSED_LUMINANCE_ALPHA, luminance_alpha_rows},
    {GL_INTENSITY, GL_COMPRESSED_INTENSITY, intensity_rows},
    {GL_RED, GL_COMPRESSED_RED, red_rows},
    {GL_GREEN, GL_NONE, unsized_rows<GL_GREEN>},
    {GL_BLUE, GL_NONE, unsized_rows<GL_BLUE>},
    {GL_ALPHA, GL_COMPRESSED_ALPHA, alpha_rows},
    {}, // red and green
    {GL_RGB, GL_COMPRESSED_RGB, rgb_rows},
    {GL_RGBA, GL_COMPRESSED_RGBA, rgba_rows},
    {GL_BGR, GL_COMPRESSED_RGB, rgb_rows},
    {GL_BGRA, GL_COMPRESSED_RGBA, rgba_rows},
    {GL_DEPTH_COMPONENT, GL_NONE, depth_rows},
    {}, // depth and stencil
    {GL_RGB, GL_COMPRESSED_RGB, rgb_rows},
    {GL_RGBA, GL_COMPRESSED_RGBA, rgba_rows},
    {}, // the two-channel special format, which GL would take for RGB
    {GL_COLOR_INDEX, GL_NONE, color_index_rows},
}};

} // namespace

bool find_transfer(const pixel_descriptor& descriptor, transfer& found, bool compressed) {
    if (descriptor.format < entries.size()) {
        const format_entry& entry = entries[descriptor.format];
        for (const row& r : entry.rows) {
            if (r.type != descriptor.type || r.bits != descriptor.bits) continue;
            const bool compress = compressed && r.type == u && entry.compressed != GL_NONE;
            found = {compress ? entry.compressed : r.internal_format, entry.gl_format, r.gl_type};
            return true;
        }
    }
    return libutils::report("Not supported image format! imgformat:", descriptor.format,
                            " imgtype:", descriptor.type, " imgbits:", descriptor.bits);
}

} // namespace libgr
