#pragma once
// Rectangles of whole pixels, counted from the lower left corner.

#include <algorithm>

namespace render {

// From left and bottom up to, but without, right and top. Empty unless left < right and bottom < top.
struct pixel_rect {
    int left = 0, bottom = 0, right = 0, top = 0;

    constexpr bool empty() const { return left >= right || bottom >= top; }
    constexpr int width() const { return empty() ? 0 : right - left; }
    constexpr int height() const { return empty() ? 0 : top - bottom; }
    friend bool operator==(const pixel_rect&, const pixel_rect&) = default;
};

inline pixel_rect intersection(const pixel_rect& a, const pixel_rect& b) {
    return {std::max(a.left, b.left), std::max(a.bottom, b.bottom), std::min(a.right, b.right),
            std::min(a.top, b.top)};
}

// The smallest rectangle that holds both.
inline pixel_rect enclosing(const pixel_rect& a, const pixel_rect& b) {
    if (a.empty()) return b;
    if (b.empty()) return a;
    return {std::min(a.left, b.left), std::min(a.bottom, b.bottom), std::max(a.right, b.right),
            std::max(a.top, b.top)};
}

} // namespace render
