#pragma once
// The letters that the program draws: distance fields of a font's outlines, made when the program is built,
// so that text is sharp at every size and needs nothing installed.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace quenvarel {

// Lengths are texels of the field; em texels are as much as the font's size.
struct letter {
    char32_t character;
    std::uint16_t x, y, width, height; // of its part of the field, whose rows begin at the top
    std::int16_t left, top;            // of that part, from the letter's origin on the baseline
    float advance;                     // to the origin of the next letter
};

// A texel of the field is 128 on an outline, and changes by 127 within the spread: more inside, less outside.
struct font_t {
    float em, spread;
    float capital; // height of capital letters
    int width, height;
    std::span<const letter> letters; // in the order of their characters
    const unsigned char* field;
};
extern const font_t font;

// Null for one that the font does not have.
const letter* find_letter(char32_t character);
// The letter for it; one that stands for all others where the font has none.
const letter& letter_for(char32_t character);

// In ems.
float text_width(std::u32string_view text);

// Bytes that are no UTF-8 become U+FFFD each.
std::u32string from_utf8(std::string_view text);

} // namespace quenvarel
