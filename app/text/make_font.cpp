// Makes the letters that the program draws, when it is built: make_font OUTPUT.cpp FONT...
// Each letter comes from the first of the fonts that has it.

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_MODULE_H

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>
#include <vector>

namespace {

constexpr int em = 32;    // texels
constexpr int spread = 4; // how far the distances reach on each side of an outline, in texels
constexpr unsigned atlas_width = 1024;

// What keyboard layouts write and what the state line says, each range with its ends.
constexpr struct {
    char32_t first, last;
} ranges[] = {
    {0x20, 0x7E},     {0xA0, 0x17F},    {0x18F, 0x18F},   {0x192, 0x192},   {0x1A0, 0x1A1},
    {0x1AF, 0x1B0},   {0x218, 0x21B},   {0x259, 0x259},   {0x2BB, 0x2BC},   {0x2C6, 0x2DD},
    {0x384, 0x3CE},   {0x400, 0x45F},   {0x490, 0x49D},   {0x4A0, 0x4BB},   {0x4D8, 0x4D9},
    {0x4E2, 0x4E9},   {0x4EE, 0x4EF},   {0x531, 0x587},   {0x5D0, 0x5EA},   {0x60C, 0x60C},
    {0x61B, 0x61F},   {0x621, 0x64A},   {0x67E, 0x67E},   {0x686, 0x686},   {0x698, 0x698},
    {0x6A9, 0x6AF},   {0x6CC, 0x6CC},   {0x10D0, 0x10F0}, {0x1E9E, 0x1E9E}, {0x2010, 0x2026},
    {0x2030, 0x203A}, {0x20AA, 0x20AC}, {0x20B4, 0x20BF}, {0x2116, 0x2116}, {0x2190, 0x2193},
    {0x2212, 0x2212}, {0x25CF, 0x25CF}, {0x266D, 0x266F}, {0xFFFD, 0xFFFD},
};

struct letter {
    char32_t character;
    unsigned x = 0, y = 0, width = 0, height = 0; // in the atlas, the top row first
    int left = 0, top = 0;                        // from the origin of the letter, in texels
    double advance = 0;
    std::vector<std::uint8_t> field = {};
};

using face_ref = std::unique_ptr<FT_FaceRec, decltype(&FT_Done_Face)>;

bool render(FT_Face face, char32_t character, std::vector<letter>& letters) {
    const FT_UInt glyph = FT_Get_Char_Index(face, character);
    if (glyph == 0 || FT_Load_Glyph(face, glyph, FT_LOAD_NO_HINTING) != 0) return false;
    letter made{.character = character, .advance = double(face->glyph->linearHoriAdvance) / 65536};
    if (face->glyph->outline.n_contours > 0) {
        if (FT_Render_Glyph(face->glyph, FT_RENDER_MODE_SDF) != 0) return false;
        const FT_Bitmap& bitmap = face->glyph->bitmap;
        made.width = bitmap.width;
        made.height = bitmap.rows;
        made.left = face->glyph->bitmap_left;
        made.top = face->glyph->bitmap_top;
        for (unsigned row = 0; row < bitmap.rows; ++row) {
            const std::uint8_t* const texels = bitmap.buffer + std::ptrdiff_t(row) * bitmap.pitch;
            made.field.insert(made.field.end(), texels, texels + bitmap.width);
        }
    }
    letters.push_back(std::move(made));
    return true;
}

// Rows of letters of about the same height; the height of all.
unsigned arrange(std::vector<letter>& letters) {
    std::vector<letter*> order;
    for (letter& each : letters)
        order.push_back(&each);
    std::ranges::stable_sort(order, std::greater{}, &letter::height);
    unsigned x = 0, y = 0, row = 0;
    for (letter* const each : order) {
        if (x + each->width > atlas_width) {
            y += row;
            x = row = 0;
        }
        each->x = x;
        each->y = y;
        x += each->width;
        row = std::max(row, each->height);
    }
    return y + row;
}

void write(std::ostream& out, const std::vector<letter>& letters, unsigned height, double capital) {
    std::vector<std::uint8_t> atlas(std::size_t{atlas_width} * height);
    for (const letter& each : letters)
        for (unsigned row = 0; row < each.height; ++row)
            std::copy_n(each.field.begin() + std::ptrdiff_t(row) * each.width, each.width,
                        atlas.begin() + std::ptrdiff_t(each.y + row) * atlas_width + each.x);
    out << "// Written by make_font.\n#include \"app/text/font.h\"\n\nnamespace quenvarel {\nnamespace {\n"
           "constexpr letter letters[] = {\n";
    for (const letter& each : letters)
        out << '{' << std::uint32_t(each.character) << ',' << each.x << ',' << each.y << ',' << each.width
            << ',' << each.height << ',' << each.left << ',' << each.top << ',' << each.advance << "},\n";
    out << "};\nconst unsigned char field[] = {";
    for (std::size_t i = 0; i < atlas.size(); ++i)
        out << (i % 64 == 0 ? "\n" : "") << int(atlas[i]) << ',';
    out << "\n};\n} // namespace\n\nconst font_t font = {" << em << ',' << spread << ',' << capital << ","
        << atlas_width << ',' << height << ",letters,field};\n} // namespace quenvarel\n";
}

} // namespace

int main(int argc, char** argv) {
    FT_Library opened = nullptr;
    if (argc < 3 || FT_Init_FreeType(&opened) != 0) return 1;
    const std::unique_ptr<FT_LibraryRec_, decltype(&FT_Done_FreeType)> library(opened, FT_Done_FreeType);
    FT_Library const freetype = library.get();
    int reach = spread;
    for (const char* const renderer : {"sdf", "bsdf"})
        if (FT_Property_Set(freetype, renderer, "spread", &reach) != 0) return 1;
    std::vector<face_ref> faces;
    for (int i = 2; i < argc; ++i) {
        FT_Face face = nullptr;
        if (FT_New_Face(freetype, argv[i], 0, &face) != 0) {
            std::cerr << argv[i] << ": the font cannot be read.\n";
            return 1;
        }
        FT_Set_Pixel_Sizes(face, 0, em);
        faces.emplace_back(face, FT_Done_Face);
    }
    std::vector<letter> letters;
    for (const auto& [first, last] : ranges)
        for (char32_t character = first; character <= last; ++character)
            for (const face_ref& face : faces)
                if (render(face.get(), character, letters)) break;
    FT_Load_Char(faces[0].get(), 'H', FT_LOAD_NO_HINTING);
    const double capital = double(faces[0]->glyph->metrics.horiBearingY) / 64;
    std::ofstream out(argv[1]);
    write(out, letters, arrange(letters), capital);
    out.close();
    if (!out) std::cerr << argv[1] << ": cannot be written.\n";
    return out ? 0 : 1;
}
