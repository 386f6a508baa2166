#pragma once
// What an instrument needs from its window beyond what GLUT offers: which key an event is about, when the
// window loses the keyboard and gets it back, swaps that do not wait for the display, pictures of which only
// parts are replaced, no menu on the Alt key, and a bell for other threads.

#include "app/held_keys.h"
#include "render/math/pixel_rect.h"

#include <chrono>
#include <memory>
#include <optional>
#include <span>

namespace gems {

// Something that GLUT does not tell.
struct keyboard_news {
    // pressed: a key of which GLUT tells nothing, because it types nothing
    enum kind { pressed, released, lost, regained } what;
    unsigned place = 0; // of the key that is pressed or released
    key_set down = {};  // regained: the keys that are down
};

// What a window system calls between the calls of GLUT.
struct window_callbacks {
    // There is news. Called while a connection is locked: to be looked at as soon as GLUT has handled the
    // events that it has.
    void (*news_waits)() = [] {};
    // A key goes down or, when this was true for it, comes up: whether it counts by its place. Then GLUT is
    // told nothing of it.
    bool (*placed_key)(unsigned place, bool pressed) = [](unsigned, bool) { return false; };
};

class window_system {
public:
    // For the window of the current GL context, which from then on swaps its buffers without waiting for the
    // display and, on Windows, has no keyboard-driven system menu. Null when the system refuses.
    static std::unique_ptr<window_system> of_current_window(const window_callbacks& call = {});
    virtual ~window_system() = default;

    // To be called in every key event, with what the key gives. Returns the place of the key on the keyboard;
    // nothing when that is unknown.
    virtual std::optional<unsigned> place_of_key(unsigned gives, bool pressed) = 0;

    // Hands the key events that wait before all other events to the function, as GLUT would to its callbacks.
    using key_handler = void (*)(unsigned gives, bool pressed, int x, int y);
    virtual void handle_keys(key_handler) {}

    // What happened before the last call of place_of_key or end_of_round, in order.
    virtual std::optional<keyboard_news> next_news() = 0;
    // GLUT has handled all events that it had.
    virtual void end_of_round() {}

    // Whether the places tell repetitions of a key that is held from presses.
    virtual bool knows_repetitions() const { return false; }

    // Whether parts of what the window shows can be replaced. False also once after a part of it was lost:
    // the whole back buffer must be shown then, by a swap.
    virtual bool keeps_picture() { return false; }
    // Copies rectangles of the back buffer, counted in pixels from the lower left, to the window.
    virtual void show_parts(std::span<const render::pixel_rect>) {}

    // Whether somebody else has destroyed the window.
    virtual bool window_gone() { return false; }

    // The bell: any thread may ring it, also a realtime one. The answer is called on the loop's thread soon
    // after; rings that have not been answered by then count as one.
    static void ring() noexcept;
    virtual void answer_rings(void (*answer)()) = 0;
    // Where GLUT would not notice the bell: sleeps in its place until there is an event, a ring, which is
    // answered, or the time is over.
    virtual void sleep(std::chrono::milliseconds) {}
    virtual bool sleeps_itself() const { return false; }
};

} // namespace gems
