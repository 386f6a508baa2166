#pragma once
// The parts of a picture that are out of date.

#include "render/math/pixel_rect.h"

#include <array>
#include <cstddef>
#include <span>

namespace quenvarel {

// Rectangles that do not overlap. Two keys far apart stay two small rectangles, many keys become one.
// Allocates nothing.
class damage {
public:
    void add(render::pixel_rect part) {
        if (part.empty()) return;
        for (std::size_t i = 0; i < count_;) {
            if (count_ < parts_.size() && render::intersection(part, parts_[i]).empty()) {
                ++i;
                continue;
            }
            part = render::enclosing(part, parts_[i]);
            parts_[i] = parts_[--count_];
            i = 0; // it has grown
        }
        parts_[count_++] = part;
    }
    void clear() { count_ = 0; }
    std::span<const render::pixel_rect> parts() const { return {parts_.data(), count_}; }

private:
    std::array<render::pixel_rect, 24> parts_;
    std::size_t count_ = 0;
};

} // namespace quenvarel
