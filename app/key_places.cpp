#include "app/key_places.h"

#include <algorithm>
#include <utility>

namespace quenvarel {

namespace {

// Keys side by side, from this scan code on, with their characters on a Japanese keyboard; blanks play
// nothing.
struct key_row {
    unsigned first;
    const char* drawn;
};

constexpr unsigned scan_code_right_of_slash = 0x73, scan_code_right_of_l = 0x27;

// clang-format off
constexpr key_row rows[] = {
    {0x02, " 23 567 90 ^"},
    {0x10, "qwertyuiop@["},
    {0x1E, "as fg jkl :"}, {0x2B, "]"},
    {0x2C, "zxcvbnm,./"}, {scan_code_right_of_slash, "\\"},
};
// clang-format on

// All keys that write characters: these rows, then those that not every board has.
constexpr std::pair<unsigned, unsigned> writing_keys[] = {
    {0x02, 0x0D}, {0x10, 0x1B}, {0x1E, 0x29}, {0x2B, 0x35}, {0x56, 0x56}, {0x73, 0x73}, {0x7D, 0x7D}};

} // namespace

key_places::key_places(std::unique_ptr<keyboard_layout> layout) : layout_(std::move(layout)) {
    read();
}

void key_places::read() {
    notes_.clear();
    right_of_slash_ = layout_->place_of(scan_code_right_of_slash);
    for (const key_row& row : rows)
        for (unsigned at = 0; row.drawn[at] != '\0'; ++at) {
            if (row.drawn[at] == ' ') continue;
            unsigned place = layout_->place_of(row.first + at);
            if (place == right_of_slash_ && !layout_->written(place, false))
                place = layout_->place_of(scan_code_right_of_l);
            notes_.push_back(
                {static_cast<unsigned char>(row.drawn[at]), place, layout_->written(place, false)});
        }
}

std::optional<unsigned char> key_places::drawn_at(unsigned place) const {
    if (place == right_of_slash_) return '\\';
    const auto found = std::ranges::find(notes_, place, &note_key::place);
    return found == notes_.end() ? std::nullopt : std::optional(found->drawn);
}

std::optional<typing> key_places::typing_of(char32_t character) const {
    for (const bool with_shift : {false, true})
        for (const auto& [first, last] : writing_keys)
            for (unsigned code = first; code <= last; ++code)
                if (const unsigned place = layout_->place_of(code);
                    layout_->written(place, with_shift) == character)
                    return typing{place, with_shift};
    return std::nullopt;
}

bool key_places::written_as_drawn() const {
    return std::ranges::all_of(notes_, [](const note_key& key) { return key.written == key.drawn; });
}

bool key_places::update() {
    if (!layout_->update()) return false;
    read();
    return true;
}

} // namespace quenvarel
