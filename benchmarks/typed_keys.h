#pragma once
// Keys that a benchmark presses before it waits for the program's answer.

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include <cstddef>
#include <string>

namespace benchmarks {

// Injected into the X server, where nothing tells them from real ones.
class typed_keys {
public:
    explicit typed_keys(const std::string& display) : connection_(XOpenDisplay(display.c_str())) {}
    ~typed_keys() { XCloseDisplay(connection_); }
    typed_keys(const typed_keys&) = delete;
    typed_keys& operator=(const typed_keys&) = delete;

    // The keys z, x, c and v take turns: a program may take a key that is down again before its release was
    // handled for a repeating one.
    void press(int turn, bool down) {
        constexpr KeySym symbols[] = {XK_z, XK_x, XK_c, XK_v};
        XTestFakeKeyEvent(connection_, XKeysymToKeycode(connection_, symbols[turn % 4]), down, CurrentTime);
        XFlush(connection_);
    }
    // Has the window drawn again.
    void uncover(unsigned long window) {
        XClearArea(connection_, window, 0, 0, 0, 0, True);
        XFlush(connection_);
    }

private:
    Display* connection_;
};

} // namespace benchmarks
