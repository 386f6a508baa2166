#pragma once
// An X display of one test's own, and what a user and a window manager do to the windows on it.

#include "support/pixels.h"
#include "support/process.h"

#include <chrono>
#include <string>
#include <vector>

struct _XDisplay;

namespace test_support {

class virtual_display {
public:
    using window = unsigned long;

    // Starts on a free number with this keyboard layout and a screen of this size.
    explicit virtual_display(const std::string& layout = "us", const std::string& size = "1280x1024");
    ~virtual_display();
    virtual_display(const virtual_display&) = delete;
    virtual_display& operator=(const virtual_display&) = delete;

    void set_layout(const std::string& layout);

    // As in DISPLAY.
    const std::string& name() const { return name_; }
    // The visible window with this title, waiting until there is one; 0 when none came.
    window find_window(const std::string& title, std::chrono::milliseconds limit = generous);
    bool has_window(const std::string& title) {
        return find_window(title, std::chrono::milliseconds(0)) != 0;
    }
    // The numbers of a window's property, or its bytes.
    std::vector<unsigned long> property(window w, const std::string& name);
    // Puts the window's upper left corner there. Without a window manager new ones may lie partly off the
    // screen.
    void move(window w, int x, int y);
    // What the window shows, all of which must be on the screen.
    picture screenshot(window w);
    // Gives the window the keyboard and puts the pointer into it. False when there is no such window any
    // more.
    bool focus(window w);
    // Gives the keyboard to a window of ours.
    void focus_elsewhere();
    // Takes the keyboard away from all windows, and gives it back.
    void grab_keyboard();
    void ungrab_keyboard();
    // What a window manager sends when its close button is pressed.
    void request_close(window w);
    // Runs an xdotool command line; its own delays between keys are off.
    void drive(const std::string& commands);
    // Whether the server repeats held keys, for all programs on it.
    bool repeats_keys();
    // Takes the display away from the programs on it.
    void kill();

private:
    // As a window manager, to a window that takes part.
    void send_protocol(window w, const char* name);

    process server_;
    std::string name_;
    _XDisplay* connection_ = nullptr;
    window elsewhere_ = 0;
};

} // namespace test_support
