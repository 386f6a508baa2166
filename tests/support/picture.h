#pragma once
// Pictures drawn by a test: an offscreen target, its pixels, and their comparison with a reference file.

#include "support/pixels.h"

#include <gtest/gtest.h>
#include <string>

namespace test_support {

picture load_png(const std::string& file); // empty when it cannot be read
bool save_png(const picture& image, const std::string& file);

// Succeeds when no channel of any pixel differs from tests/data/NAME.png by more than max, and all channels
// by no more than mean on average (both in 255ths). Otherwise tells how much and where, and leaves
// NAME.actual.png in the working directory. With QUENVAREL_UPDATE_PICTURES set in the environment the
// reference is written instead: look at it before committing it.
testing::AssertionResult looks_like(const picture& actual, const std::string& name, double mean, int max);

// A framebuffer of RGBA bytes with depth, bound for drawing with a viewport of its size while it lives.
class render_target {
public:
    render_target(int width, int height);
    ~render_target();
    render_target(const render_target&) = delete;
    render_target& operator=(const render_target&) = delete;

    void clear(float red, float green, float blue, float alpha); // and the depth
    picture read() const;

private:
    int width_, height_;
    unsigned framebuffer_ = 0, color_ = 0, depth_ = 0;
};

} // namespace test_support
