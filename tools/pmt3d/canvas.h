#pragma once
// Something to draw a picture on.

#include "libgr/image/image.h"

#include <cstdint>

namespace tool {

// A framebuffer of that size with colour and depth, smooth edges where the context offers them (four samples
// at most), bound for drawing while it lives. Needs a current context.
class canvas {
public:
    canvas(std::uint32_t width, std::uint32_t height);
    ~canvas();
    canvas(const canvas&) = delete;
    canvas& operator=(const canvas&) = delete;

    // The longest side that the context can draw.
    static std::uint32_t longest_side();

    // False when the context cannot draw at this size.
    bool is_complete() const { return complete_; }
    // What has been drawn, as 8-bit RGB. False when there is no memory for it.
    bool read(libgr::image2d& image);

private:
    struct target {
        unsigned framebuffer = 0, color = 0, depth = 0;
    };
    target make(int samples) const;

    std::uint32_t width_, height_;
    target drawn_, resolved_;
    bool complete_ = false;
};

} // namespace tool
