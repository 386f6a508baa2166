#include "models/name_picture.h"

#include "libutils/report.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

namespace models {
namespace {

constexpr char name[] = "Quenvarel";
constexpr unsigned width = 384, height = 80;
constexpr unsigned em = 75;           // pixels
constexpr unsigned baseline = 26;     // from the bottom
constexpr double letter_space = 0.03; // em

struct library {
    FT_Library handle = nullptr;
    library() { FT_Init_FreeType(&handle); }
    ~library() { FT_Done_FreeType(handle); }
};

using face_ref = std::unique_ptr<FT_FaceRec, decltype(&FT_Done_Face)>;

// Calls draw(x) for every letter once it is rendered into the face's slot; the width of all.
template <class Draw>
double set(FT_Face face, Draw draw) {
    double x = 0;
    FT_UInt last = 0;
    for (const char* c = name; *c; ++c) {
        const FT_UInt glyph = FT_Get_Char_Index(face, static_cast<unsigned char>(*c));
        FT_Vector kerning = {0, 0};
        if (last) FT_Get_Kerning(face, last, glyph, FT_KERNING_UNFITTED, &kerning);
        last = glyph;
        x += double(kerning.x) / 64;
        if (FT_Load_Glyph(face, glyph, FT_LOAD_RENDER | FT_LOAD_NO_HINTING) != 0) continue;
        draw(x);
        x += double(face->glyph->linearHoriAdvance) / 65536;
        if (c[1]) x += letter_space * em;
    }
    return x;
}

// Brass is lightest where it faces the lamps.
void color_of(unsigned y, std::uint8_t (&rgb)[3]) {
    const double up = (double(y) - baseline) / (0.7 * em);
    const double light = 0.86 + 0.14 * std::sin(3.1 * std::clamp(up, 0.0, 1.0));
    const double brass[] = {252, 214, 128};
    for (int i = 0; i < 3; ++i)
        rgb[i] = static_cast<std::uint8_t>(brass[i] * light);
}

} // namespace

std::optional<picture> make_name(const std::string& font) {
    const library freetype;
    FT_Face opened = nullptr;
    if (!freetype.handle || FT_New_Face(freetype.handle, font.c_str(), 0, &opened) != 0) {
        libutils::report(font, ": the font cannot be read.");
        return std::nullopt;
    }
    const face_ref face(opened, FT_Done_Face);
    FT_Set_Pixel_Sizes(face.get(), 0, em);

    picture made{width, height, 4, {}};
    made.pixels.resize(std::size_t{width} * height * 4);
    for (unsigned y = 0; y < height; ++y) {
        std::uint8_t rgb[3];
        color_of(y, rgb);
        for (unsigned x = 0; x < width; ++x)
            std::memcpy(&made.pixels[(std::size_t{y} * width + x) * 4], rgb, 3);
    }
    const double left = (width - set(face.get(), [](double) {})) / 2;
    set(face.get(), [&](double at) {
        const FT_GlyphSlot slot = face->glyph;
        const FT_Bitmap& bitmap = slot->bitmap;
        for (unsigned row = 0; row < bitmap.rows; ++row)
            for (unsigned column = 0; column < bitmap.width; ++column) {
                const int x = int(std::lround(left + at)) + slot->bitmap_left + int(column);
                const int y = int(baseline) + slot->bitmap_top - 1 - int(row);
                if (x < 0 || y < 0 || x >= int(width) || y >= int(height)) continue;
                std::uint8_t& alpha = made.pixels[(std::size_t(y) * width + std::size_t(x)) * 4 + 3];
                alpha = std::max(alpha, bitmap.buffer[int(row) * bitmap.pitch + int(column)]);
            }
    });
    return made;
}

} // namespace models
