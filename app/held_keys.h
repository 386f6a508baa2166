#pragma once
// The keys that are down, and what each gave when it went down. The window library reports characters, which
// do not identify a key: one that went down as 'a' comes up as 'A' if Shift was pressed in between, and two
// keys may give the same character. So keys are identified by their places on the keyboard.

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace gems {

// What a key gives: a character; this plus GLUT's code of a key without one; or, where its place counts, this
// plus the character that its place stands for.
constexpr unsigned first_special = 256, first_placed = 512;

constexpr unsigned key_places = 512;
using key_set = std::bitset<key_places>;

// Where the place of a key is unknown, what it gives takes its place.
class held_keys {
public:
    held_keys() { as_.fill(up); }

    // A key goes down and gives this. False when it was down already: this is auto-repeat.
    bool press(std::optional<unsigned> place, unsigned gives) {
        std::uint16_t* const key = find(place, gives);
        if (key && *key != up) return false;
        if (key) *key = static_cast<std::uint16_t>(gives);
        return true;
    }

    // A key comes up. What it gave when it went down; nothing when nobody has seen that.
    std::optional<unsigned> release(unsigned place) {
        std::optional<unsigned> gave;
        raise(as_[place % key_places], [&](unsigned as) { gave = as; });
        return gave;
    }
    // The same for a key that gives this now, which identifies it where its place is unknown.
    std::optional<unsigned> release(std::optional<unsigned> place, unsigned gives) {
        std::optional<unsigned> gave;
        if (place && as_[*place % key_places] != up) return release(*place);
        if (std::uint16_t* const key = find({}, gives)) raise(*key, [&](unsigned as) { gave = as; });
        return gave || place ? gave : gives;
    }

    // The window loses the keyboard. Calls `release` with what each key that is down gave, unless `stays` is
    // true for it.
    template <class Stays, class Release>
    void leave(Stays stays, Release release) {
        for (std::uint16_t& key : as_)
            if (key != up && (key == silent || !stays(key))) raise(key, release);
    }

    // The window gets it back, with these keys down. Calls `release` for those that have come up meanwhile.
    // Keys that went down meanwhile give nothing until they are pressed again.
    template <class Release>
    void come_back(const key_set& down, Release release) {
        for (std::size_t at = 0; at < as_.size(); ++at)
            if (at >= key_places || !down[at])
                raise(as_[at], release);
            else if (as_[at] == up)
                as_[at] = silent;
    }

private:
    static constexpr std::uint16_t silent = 0xFFFE, up = 0xFFFF;

    // Null for what no key gives.
    std::uint16_t* find(std::optional<unsigned> place, unsigned gives) {
        if (!place && gives >= first_placed) return nullptr;
        return &as_[place ? *place % key_places : key_places + gives];
    }
    template <class Release>
    static void raise(std::uint16_t& key, Release release) {
        const std::uint16_t as = std::exchange(key, up);
        if (as < silent) release(unsigned{as});
    }

    std::array<std::uint16_t, key_places + first_placed> as_; // by place, then by what they give
};

} // namespace gems
