#pragma once
// Where the keys of the two manuals lie on the keyboard, and what its layout writes on them.

#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace quenvarel {

// The layout that the keyboard has now. A place is a number by which the events of the window know a key:
// X11's keycode, or the scan code on Windows.
class keyboard_layout {
public:
    // That of the window of the current GL context. Null when the system does not tell.
    static std::unique_ptr<keyboard_layout> of_current_window();
    virtual ~keyboard_layout() = default;

    // The place of the key with this scan code: the position on the keyboard, in the numbers of the PC's.
    virtual unsigned place_of(unsigned scan_code) const = 0;
    // What the key at a place writes; an accent for a dead key, 0 for none.
    virtual char32_t written(unsigned place, bool with_shift) const = 0;
    // Takes over what has changed since the last call. False when nothing has.
    virtual bool update() = 0;
};

// A key of the drawing of the two manuals.
struct note_key {
    unsigned char drawn; // its character in the drawing, which the key map knows
    unsigned place;
    char32_t written; // by the layout, without Shift; 0 for nothing
};

// Where and how a character is typed.
struct typing {
    unsigned place;
    bool with_shift;
};

class key_places {
public:
    explicit key_places(std::unique_ptr<keyboard_layout> layout);

    // All keys of the drawing, each once. Boards that are not Japanese have no key right of the slash: there
    // the one that is right of the l plays its note too, and stands here.
    std::span<const note_key> notes() const { return notes_; }
    // The character in the drawing of the key at this place; nothing for a key that is not in it.
    std::optional<unsigned char> drawn_at(unsigned place) const;
    // Nothing when the layout has no key for the character alone or with Shift.
    std::optional<typing> typing_of(char32_t character) const;
    // Whether every key of the drawing writes its character, as on a Japanese keyboard.
    bool written_as_drawn() const;

    // To be called now and then. True when the layout has changed since.
    bool update();

private:
    void read();

    std::unique_ptr<keyboard_layout> layout_;
    std::vector<note_key> notes_;
    unsigned right_of_slash_ = 0;
};

} // namespace quenvarel
