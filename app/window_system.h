#pragma once
// What an instrument needs of its window beyond what GLUT offers: to know which key an event is about, to
// notice that the keyboard goes elsewhere and comes back, not to wait for the display, and no menu under the
// Alt key.

#include "app/held_keys.h"

#include <memory>
#include <optional>

namespace gems {

// Something that GLUT does not tell.
struct keyboard_news {
    enum kind { released, lost, regained } what;
    unsigned place = 0; // released: of the key
    key_set down = {};  // regained: the keys that are down
};

class window_system {
public:
    // For the window of the current GL context, which from then on swaps its buffers without waiting for the
    // display and, on Windows, has no keyboard-driven system menu. Null when the system refuses.
    static std::unique_ptr<window_system> of_current_window();
    virtual ~window_system() = default;

    // Asked in every key event of GLUT's, with what the key gives: its place on the keyboard. Nothing when
    // that is unknown.
    virtual std::optional<unsigned> place_of_key(unsigned gives, bool pressed) = 0;

    // What came before the event that place_of_key was asked about last, or before end_of_round, in order.
    virtual std::optional<keyboard_news> next_news() = 0;
    // GLUT has handled all events that it had.
    virtual void end_of_round() {}

    // Whether the places tell repetitions of a key that is held from presses.
    virtual bool knows_repetitions() const { return false; }

    // Whether somebody else has destroyed the window.
    virtual bool window_gone() { return false; }
};

} // namespace gems
