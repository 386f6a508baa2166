#include "app/text/font.h"

#include <algorithm>

namespace quenvarel {

const letter* find_letter(char32_t character) {
    const auto found = std::ranges::lower_bound(font.letters, character, {}, &letter::character);
    return found != font.letters.end() && found->character == character ? &*found : nullptr;
}

const letter& letter_for(char32_t character) {
    const letter* const found = find_letter(character);
    return found ? *found : *find_letter(U'\uFFFD');
}

float text_width(std::u32string_view text) {
    float width = 0;
    for (const char32_t character : text)
        width += letter_for(character).advance;
    return width / font.em;
}

std::u32string from_utf8(std::string_view text) {
    std::u32string result;
    for (std::size_t at = 0; at < text.size();) {
        const auto first = static_cast<unsigned char>(text[at++]);
        const std::size_t more = first < 0x80   ? 0
                                 : first < 0xC2 ? 9
                                 : first < 0xE0 ? 1
                                 : first < 0xF0 ? 2
                                 : first < 0xF5 ? 3
                                                : 9;
        char32_t character = more == 0 ? first : first & (0x3Fu >> more);
        std::size_t read = 0;
        for (; more <= 3 && read < more && at + read < text.size(); ++read) {
            const auto next = static_cast<unsigned char>(text[at + read]);
            if ((next & 0xC0) != 0x80) break;
            character = character << 6 | (next & 0x3Fu);
        }
        constexpr char32_t least[] = {0, 0x80, 0x800, 0x10000};
        const bool is_good = read == more && character >= least[more] && character <= 0x10FFFF &&
                             (character < 0xD800 || character > 0xDFFF);
        if (is_good) at += more;
        result += is_good ? character : U'\uFFFD';
    }
    return result;
}

} // namespace quenvarel
