#pragma once
// The text in the picture: what is written on the keys, and the line below them.

#include "app/keyboard_scene.h"
#include "app/text/key_inscriptions.h"
#include "app/text/state_line.h"
#include "app/text/text_painter.h"
#include "render/math/pixel_rect.h"

#include <optional>

namespace quenvarel {

// Writing on a key lies on its top and moves with it. Where it would be too small to read a dot stands for
// what is typed.
class captions {
public:
    static constexpr float least_height = 9; // of a capital letter on a key, in pixels

    // Gives back what the GL has; with the context.
    void destroy() noexcept { painter_.destroy(); }

    // Calls changed(key) for each key on which it differs from before.
    template <class Changed>
    void inscribe(const key_inscriptions& keys, Changed changed) {
        for (std::size_t key = 0; key < keys.size(); ++key) {
            if (keys_[key] == keys[key]) continue;
            keys_[key] = keys[key];
            changed(static_cast<int>(key));
        }
    }
    // Sets the line for a window of this size; empty words: there is none.
    void say(const state_line::words& words) { words_ = words; }
    void lay_out(const viewport& port);
    // The pixels that the line covers, for the viewport that it was laid out for.
    const render::pixel_rect& line() const { return line_covers_; }

    // Draws what a part of the picture, its scissor, may show of all this, over what is there.
    void draw(const painter& with, keyboard_scene& keys, const key_rectangles& covered,
              const render::pixel_rect& part);

private:
    void write_on(int key, const painter& with, keyboard_scene& keys);

    text_painter painter_;
    key_inscriptions keys_;
    state_line::words words_;
    lettering line_, drawn_;
    render::pixel_rect line_covers_;
};

} // namespace quenvarel
