#pragma once
// Objects that receive the events of a window. Only the registry and main know the window library below.

#include "app/held_keys.h"
#include "render/math/pixel_rect.h"

#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <span>

namespace gems {

class window_system;

// The events of one window. Every operation does nothing unless it is overridden. Positions are pixels from
// the window's upper left corner.
class glutyAPI {
public:
    virtual void reshape(int /*width*/, int /*height*/) {}
    virtual void display() {}
    // A typed character goes down.
    virtual void keyboard(unsigned char /*key*/, int /*x*/, int /*y*/) {}
    // A key without a character goes down; GLUT's codes.
    virtual void special(int /*key*/, int /*x*/, int /*y*/) {}
    // Buttons 0 (left), 1 and 2; state 0 is pressed, 1 released.
    virtual void mouse(int /*button*/, int /*state*/, int /*x*/, int /*y*/) {}
    // The pointer moves while a button is held ...
    virtual void motion(int /*x*/, int /*y*/) {}
    // ... and while none is.
    virtual void passivemotion(int /*x*/, int /*y*/) {}
    virtual void idle() {}
    // Called once, before the first event, with the window's GL context current.
    virtual void init() {}

protected:
    ~glutyAPI() = default;
};

class glutyAPI4 : public glutyAPI {
public:
    virtual ~glutyAPI4() = default;
    virtual void keyboardup(unsigned char /*key*/, int /*x*/, int /*y*/) {}
    virtual void specialup(int /*key*/, int /*x*/, int /*y*/) {}
    // Direction +1 is away from the user.
    virtual void mousewheel(int /*wheel*/, int /*direction*/, int /*x*/, int /*y*/) {}
    // The character that a key at this place stands for, whatever it types; nothing for a key that counts by
    // what it types. In the numbers of X11's keycodes or of Windows' scan codes. Asked when the key goes
    // down.
    virtual std::optional<unsigned char> placed(unsigned /*place*/) { return std::nullopt; }
    // A key that counts by its place goes down or comes up.
    virtual void placedkey(unsigned char /*key*/) {}
    virtual void placedkeyup(unsigned char /*key*/) {}
    // Something may have changed that nobody tells of, such as the layout of the keyboard. Comes after events
    // and about once a second, and is to cost next to nothing.
    virtual void lookaround() {}
    // The window has lost the keyboard. Before this, keys that were down have come up, except those that stay
    // down: they come up once the window has the keyboard again and finds them up.
    virtual void focuslost() {}
    virtual bool staysdown(unsigned char /*key*/) { return false; }
    // Somebody has called the registry's call(); also about once a second. True when there is more to do: it
    // comes again soon, after the window's events.
    virtual bool called() { return false; }
    // The window is about to go. Its GL context is current for the last time.
    virtual void closing() {}
};

// Binds windows to objects and runs the loop that delivers their events, all on one thread.
class gluty_registry {
public:
    gluty_registry();
    ~gluty_registry();
    gluty_registry(const gluty_registry&) = delete;
    gluty_registry& operator=(const gluty_registry&) = delete;

    // Opens a window whose events go to the handler, which stays the caller's. Returns its identifier, or -1
    // without a handler.
    int createwindow(glutyAPI4* handler, const char* title);
    // Whether idle is called when there is nothing to do.
    void setidle(bool on);
    // Whether a key that is held repeats.
    void setkeyrepeat(bool on);
    // On its first call installs the callbacks and calls every handler's init. Returns when leavemainloop was
    // called (at once when that was before) or the last window is closed.
    void mainloop();
    // Ends the loop within a few hundredths of a second, also one that has not begun. Safe in a signal
    // handler and on any thread.
    void leavemainloop() noexcept;
    bool leaving() const noexcept { return leaving_; }

    // Has the handlers called soon, once for all calls so far. Safe on any thread, also a realtime one.
    void call() noexcept;

    // For handlers, about their own window; without effect while there is none.
    void postredisplay();
    // The same after so many milliseconds, or earlier if that was asked before.
    void redisplay_in(unsigned milliseconds);
    void swapbuffers();
    // See window_system::keeps_picture() and show_parts().
    bool keepspicture();
    void showparts(std::span<const render::pixel_rect> parts);
    void settitle(const char* title);
    // In the midst of long work: handles the keys that wait, where the window system lets us.
    void handle_keys();
    void initwindowsize(int width, int height);

    // Routing, the part of a callback that follows GLUT's. The handler of a window; null, and remembered as
    // such, when the window is unknown.
    glutyAPI4* handler(int window);
    // Buttons from 3 on are the directions of wheels, which count when they are released.
    static void route_mouse(glutyAPI4& handler, int button, int state, int x, int y);

private:
    struct bound_window {
        glutyAPI4* handler = nullptr;
        std::unique_ptr<window_system> system; // null where the system refuses
        held_keys keys = {};
    };

    void install_callbacks();
    template <class Event>
    static void deliver(Event event);
    static void key_event(unsigned gives, bool pressed, int x, int y);
    static void deliver_key(unsigned gives, bool pressed, int x, int y);
    static void catch_up(bound_window& at);
    static unsigned given_at(const bound_window& at, std::optional<unsigned> place, unsigned gives);
    static void look_around();
    static void news_waits();
    static bool placed_key(unsigned place, bool pressed);
    static bool press_placed(bound_window& at, unsigned place);
    bool knows_repetitions();
    static void tick(int);
    static void answer_calls();
    static void sleep();
    void set_tick();

    std::map<int, bound_window> windows_;
    std::atomic<bool> leaving_ = false;
    std::map<int, std::chrono::steady_clock::time_point> next_redisplay_; // of the windows that await one
    bool callbacks_installed_ = false;
    bool idle_ = false;
    bool key_repeat_ = false;
    bool sleeps_itself_ = false;
    bool goes_on_ = false;      // the loop, without sleeping
    bool answers_soon_ = false; // a call that was answered in part
    std::chrono::steady_clock::time_point next_tick_{};
};

// The one registry, there before main and until after the at-exit functions.
extern gluty_registry* registry;

} // namespace gems
