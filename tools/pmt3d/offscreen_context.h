#pragma once
// An OpenGL context without a window.

#include <memory>

namespace tool {

// Current on the calling thread while it lives. On Linux it is one of EGL's, which needs no display where the
// driver can do without (Mesa's do), and is made on the display otherwise; on Windows that of a window which
// is never shown.
class offscreen_context {
public:
    // Null, silently, when no context can be had.
    static std::unique_ptr<offscreen_context> make();
    virtual ~offscreen_context() = default;

protected:
    offscreen_context() = default;
    offscreen_context(const offscreen_context&) = delete;
    offscreen_context& operator=(const offscreen_context&) = delete;
};

} // namespace tool
