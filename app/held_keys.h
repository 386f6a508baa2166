#pragma once
// Which keys are down, told by what they send, so that a press that comes without a release before it is
// known as the system's repetition.

#include "app/key_siblings.h"

#include <bitset>

namespace gems {

// Keys are numbered as first_special tells; numbers beyond GLUT's codes are never held.
class held_keys {
public:
    // False when the key was held already, be it as another character: a key repeats with the modifiers that
    // came in between.
    bool press(unsigned key, const key_siblings& siblings) {
        if (key >= held_.size()) return true;
        const bool was_held = held_[key] || (held_ & others(key, siblings)).any();
        held_.set(key);
        return !was_held;
    }

    // The release may come as another character of the same key than the press, or than both of two presses.
    void release(unsigned key, const key_siblings& siblings) {
        if (key >= held_.size()) return;
        held_.reset(key);
        held_ &= ~others(key, siblings);
    }

    bool holds(unsigned key) const { return key < held_.size() && held_[key]; }
    void forget() { held_.reset(); }

private:
    using keys = std::bitset<2 * first_special>;

    static keys others(unsigned key, const key_siblings& siblings) {
        keys same;
        if (key < siblings.size())
            for (unsigned other = 0; other < siblings.size(); ++other)
                same[other] = siblings[key][other];
        return same;
    }

    keys held_;
};

} // namespace gems
