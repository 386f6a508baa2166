#include "app/key_places.h"

#include <GL/glx.h>
#include <X11/XKBlib.h>
#include <X11/keysym.h>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace quenvarel {

namespace {

struct named_character {
    unsigned short keysym;
    char32_t character;
};

constexpr named_character characters_of_keysyms[] = {
#include "keysym_characters.inc"
};

char32_t character_of(KeySym keysym) {
    // The dead keys from the grave accent on, as accents that stand alone.
    constexpr char32_t accents[] =
        U"\u0060\u00B4\u005E\u007E\u00AF\u02D8\u02D9\u00A8\u02DA\u02DD\u02C7\u00B8\u02DB";
    if (keysym >= XK_dead_grave && keysym <= XK_dead_ogonek) return accents[keysym - XK_dead_grave];
    constexpr KeySym unicode = 0x1000000;
    if (keysym >= unicode) return static_cast<char32_t>(keysym - unicode);
    const auto found = std::ranges::find(characters_of_keysyms, keysym, &named_character::keysym);
    return found == std::end(characters_of_keysyms) ? 0 : found->character;
}

// Keys side by side, from a scan code and from an X name on.
struct key_row {
    unsigned first, last;
    char name[XkbKeyNameLength + 1];
};

constexpr key_row rows[] = {{0x02, 0x0D, "AE01"}, {0x10, 0x1B, "AD01"}, {0x1E, 0x28, "AC01"},
                            {0x29, 0x29, "TLDE"}, {0x2B, 0x2B, "BKSL"}, {0x2C, 0x35, "AB01"},
                            {0x56, 0x56, "LSGT"}, {0x73, 0x73, "AB11"}, {0x7D, 0x7D, "AE13"}};

// Uses a connection of its own, so that whatever the layout needs is asked for without waiting for GLUT's.
class x11_layout final : public keyboard_layout {
public:
    explicit x11_layout(Display* connection) : connection_(connection) {
        // The loss of the display is noticed elsewhere.
        XSetIOErrorExitHandler(
            connection_, [](Display*, void*) {}, nullptr);
        XkbSelectEvents(connection_, XkbUseCoreKbd, XkbMapNotifyMask | XkbNewKeyboardNotifyMask,
                        XkbMapNotifyMask | XkbNewKeyboardNotifyMask);
        XkbSelectEventDetails(connection_, XkbUseCoreKbd, XkbStateNotify, XkbGroupStateMask,
                              XkbGroupStateMask);
        read();
    }
    ~x11_layout() override {
        forget();
        XCloseDisplay(connection_);
    }
    x11_layout(const x11_layout&) = delete;
    x11_layout& operator=(const x11_layout&) = delete;

    unsigned place_of(unsigned scan_code) const override {
        for (const key_row& row : rows) {
            if (scan_code < row.first || scan_code > row.last) continue;
            const unsigned number = scan_code - row.first;
            char name[XkbKeyNameLength];
            std::memcpy(name, row.name, sizeof name);
            if (number > 0) {
                name[2] = static_cast<char>('0' + (number + 1) / 10);
                name[3] = static_cast<char>('0' + (number + 1) % 10);
            }
            if (const unsigned place = place_of(name)) return place;
        }
        return 0;
    }

    char32_t written(unsigned place, bool with_shift) const override {
        if (!keys_ || place < keys_->min_key_code || place > keys_->max_key_code) return 0;
        unsigned ignored;
        KeySym keysym = NoSymbol;
        XkbTranslateKeyCode(keys_, static_cast<KeyCode>(place),
                            XkbBuildCoreState(with_shift ? ShiftMask : 0u, group_), &ignored, &keysym);
        return character_of(keysym);
    }

    bool update() override {
        bool changed = false;
        while (XEventsQueued(connection_, QueuedAfterReading) > 0) {
            XEvent event;
            XNextEvent(connection_, &event);
            changed = true; // nothing else is asked for
        }
        if (changed) read();
        return changed;
    }

private:
    void read() {
        forget();
        keys_ = XkbGetMap(connection_, XkbAllClientInfoMask, XkbUseCoreKbd);
        if (keys_) XkbGetNames(connection_, XkbKeyNamesMask, keys_);
        XkbStateRec state{};
        XkbGetState(connection_, XkbUseCoreKbd, &state);
        group_ = state.group;
    }
    void forget() {
        if (keys_) XkbFreeKeyboard(keys_, XkbAllComponentsMask, True);
        keys_ = nullptr;
    }

    unsigned place_of(const char* name) const {
        if (!keys_ || !keys_->names || !keys_->names->keys) return 0;
        for (unsigned place = keys_->min_key_code; place <= keys_->max_key_code; ++place)
            if (std::memcmp(keys_->names->keys[place].name, name, XkbKeyNameLength) == 0) return place;
        return 0;
    }

    Display* connection_;
    XkbDescPtr keys_ = nullptr;
    unsigned group_ = 0;
};

} // namespace

std::unique_ptr<keyboard_layout> keyboard_layout::of_current_window() {
    Display* const windows = glXGetCurrentDisplay();
    if (!windows) return nullptr;
    int major = XkbMajorVersion, minor = XkbMinorVersion;
    Display* const connection =
        XkbOpenDisplay(DisplayString(windows), nullptr, nullptr, &major, &minor, nullptr);
    return connection ? std::make_unique<x11_layout>(connection) : nullptr;
}

} // namespace quenvarel
