#pragma once
// Keys that a benchmark presses before it waits for the program's answer.

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

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

    // Four keys take turns: a program may take a key that is down again before its release was handled for a
    // repeating one.
    void press(int turn, bool down, const char* keys = "zxcv") {
        const auto symbol = KeySym(keys[turn % 4]); // of a letter it is its code
        XTestFakeKeyEvent(connection_, XKeysymToKeycode(connection_, symbol), down, CurrentTime);
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
