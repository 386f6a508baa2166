#pragma once
// What an instrument needs of its window beyond what GLUT offers: to notice that the keyboard has gone
// elsewhere, to tell a press from a repetition, to know the keyboard's layout, not to wait for the display,
// and no menu under the Alt key.

#include "app/key_siblings.h"

#include <memory>
#include <optional>

namespace gems {

class window_system {
public:
    // For the window of the current GL context, which from then on swaps its buffers without waiting for the
    // display and, on Windows, has no keyboard-driven system menu. Null when the system refuses.
    static std::unique_ptr<window_system> of_current_window();
    virtual ~window_system() = default;

    // Whether the window has lost the keyboard since the last call, so that the release of a key that is down
    // will never be seen. Every key event from before the loss has been delivered when this tells it,
    // provided that it is called once in a round of the event loop.
    virtual bool focus_lost() = 0;

    // Whether somebody else has destroyed the window.
    virtual bool window_gone() { return false; }

    // Whether repetitions of a key that is held can be told from presses; is_repetition then does it.
    virtual bool knows_repetitions() const { return false; }
    // Has to see every press (and is_released every release) of a key, in order, by its number.
    virtual bool is_repetition(unsigned /*key*/) { return false; }
    virtual void is_released(unsigned /*key*/) {}

    // Asked while GLUT tells a release: as which key it went down, where the system knows it better than
    // GLUT, which goes by the modifiers of this moment.
    virtual unsigned went_down_as(unsigned told) { return told; }

    // A character that is held though its key is up: GLUT tells nothing of a release when the key has no
    // character with the modifiers of that moment. Found out in focus_lost; is_released has to follow.
    virtual std::optional<unsigned char> unseen_release() { return std::nullopt; }

    // The layout of the keyboard; follows changes while focus_lost is called.
    const keyboard_layout& layout() const { return layout_; }
    // Has to be told before a key event is delivered. Caps Lock counts as Shift.
    void set_modifiers(bool shift, bool control) {
        layout_.modifiers = (shift ? 1u : 0u) | (control ? 2u : 0u);
    }

protected:
    keyboard_layout layout_;
};

} // namespace gems
