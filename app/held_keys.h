#pragma once
// Which keys are down, told by what they send, so that a press that comes without a release before it is
// known as the system's repetition.

#include "app/key_siblings.h"

#include <bitset>

namespace gems {

// Keys are characters, or 256 plus the code of a key without one; other numbers are never held.
class held_keys {
public:
    // False when the key was held already.
    bool press(unsigned key) {
        if (key >= held_.size()) return true;
        const bool was_held = held_[key];
        held_.set(key);
        return !was_held;
    }

    // The release may come as another character of the same key than the press, or than both of two presses.
    void release(unsigned key, const key_siblings& siblings) {
        if (key >= held_.size()) return;
        held_.reset(key);
        if (key >= siblings.size()) return;
        for (unsigned other = 0; other < siblings.size(); ++other)
            if (siblings[key][other]) held_.reset(other);
    }

    void forget() { held_.reset(); }

private:
    std::bitset<512> held_;
};

} // namespace gems
