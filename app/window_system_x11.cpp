#include "app/window_system.h"

#include "app/held_keys.h"
#include "libutils/error_report.h"

#include <GL/glx.h>
#include <X11/XKBlib.h>

#include <cstdlib>
#include <iostream>
#include <string>

namespace gems {

namespace {

bool has_extension(Display* display, const char* wanted) {
    const char* all = glXQueryExtensionsString(display, DefaultScreen(display));
    return all && (' ' + std::string(all) + ' ').find(' ' + std::string(wanted) + ' ') != std::string::npos;
}

template <class Function>
Function extension_function(const char* name) {
    return reinterpret_cast<Function>(glXGetProcAddressARB(reinterpret_cast<const GLubyte*>(name)));
}

void do_not_wait_for_display(Display* display, GLXDrawable drawable) {
    if (has_extension(display, "GLX_EXT_swap_control"))
        extension_function<PFNGLXSWAPINTERVALEXTPROC>("glXSwapIntervalEXT")(display, drawable, 0);
    else if (has_extension(display, "GLX_MESA_swap_control"))
        extension_function<PFNGLXSWAPINTERVALMESAPROC>("glXSwapIntervalMESA")(0);
}

// The window that may vanish under GLUT, and whether it has.
XID watched_window = None;
bool watched_window_gone = false;
XErrorHandler other_errors = nullptr;

// Requests about a window that is gone would end the process with a report.
int on_error(Display* display, XErrorEvent* error) {
    if (error->resourceid != watched_window) return other_errors(display, error);
    watched_window_gone = true;
    return 0;
}

bool display_gone = false;

// The server has ended or was lost: there is nothing to draw on and nothing to play with any more. Whatever
// sounds is ended on the way out, on which the loss may be met again.
int on_lost_display(Display* display) {
    if (display_gone) return 0;
    display_gone = true;
    libutils::error_report();
    std::cerr << "lost display '" << DisplayString(display) << '\'' << std::endl;
    std::exit(1);
}

// GLUT's connection never asks for focus events, and what it does not ask for cannot be had from it; so this
// one is a second connection, looked at now and then.
class x11_window final : public window_system {
public:
    x11_window(Display* connection, Window window, bool knows_repetitions)
        : connection_(connection),
          knows_repetitions_(knows_repetitions) {
        watched_window = window;
        other_errors = XSetErrorHandler(on_error);
        XSelectInput(connection_, window,
                     FocusChangeMask | StructureNotifyMask | KeyPressMask | KeyReleaseMask);
        XkbSetDetectableAutoRepeat(connection_, True, nullptr);
        XFlush(connection_);
        read_layout();
    }
    ~x11_window() override {
        if (!display_gone) XCloseDisplay(connection_);
    }
    x11_window(const x11_window&) = delete;
    x11_window& operator=(const x11_window&) = delete;

    bool window_gone() override { return watched_window_gone; }

    bool focus_lost() override {
        // The loss is told one round late: the keys before it come through another connection.
        const bool told_now = lost_;
        lost_ = false;
        while (XPending(connection_) > 0) {
            XEvent event;
            XNextEvent(connection_, &event);
            switch (event.type) {
            case FocusOut:
                if (!takes_keys_away(event.xfocus)) break;
                lost_ = true;
                typed_ = {};
                break;
            case KeyPress:
                if (const auto character = character_of(event.xkey))
                    typed_[event.xkey.keycode & 255].set(*character);
                break;
            case KeyRelease:
                typed_[event.xkey.keycode & 255].reset();
                break;
            case DestroyNotify:
                watched_window_gone = true;
                break;
            case MappingNotify:
                XRefreshKeyboardMapping(&event.xmapping);
                if (event.xmapping.request != MappingPointer) read_layout();
                break;
            }
        }
        if (told_now) held_.forget();
        find_unseen_releases();
        return told_now;
    }

    std::optional<unsigned char> unseen_release() override {
        for (unsigned c = 0; unseen_.any() && c < unseen_.size(); ++c)
            if (unseen_[c] && held_.holds(c)) return static_cast<unsigned char>(c);
        return std::nullopt;
    }

    // While Shift is down X names the Alt keys Meta, which GLUT takes for the Super keys.
    unsigned went_down_as(unsigned told) override {
        constexpr unsigned alt_left = first_special + 116, super_right = first_special + 119;
        constexpr unsigned from_alt_to_super = 2; // a bit of the code
        if (told < alt_left || told > super_right || held_.holds(told)) return told;
        const unsigned other = told ^ from_alt_to_super;
        return held_.holds(other) ? other : told;
    }

    bool knows_repetitions() const override { return knows_repetitions_; }
    bool is_repetition(unsigned key) override {
        return knows_repetitions_ && !held_.press(key, layout_.now());
    }
    void is_released(unsigned key) override { held_.release(key, layout_.now()); }

private:
    // Grabs count: key releases go to whoever grabs.
    static bool takes_keys_away(const XFocusChangeEvent& event) {
        return event.detail != NotifyInferior && event.detail != NotifyPointer;
    }

    // As GLUT finds it.
    static std::optional<unsigned char> character_of(XKeyEvent& event) {
        char text[32];
        if (XLookupString(&event, text, sizeof text, nullptr, nullptr) <= 0) return std::nullopt;
        return static_cast<unsigned char>(text[0]);
    }

    // What is missing among the keys that are down counts when it is missed for the second time: the two
    // connections may differ by what is under way.
    void find_unseen_releases() {
        characters down, missing;
        for (const characters& of_key : typed_)
            down |= of_key;
        for (unsigned c = 0; c < down.size(); ++c)
            missing[c] = held_.holds(c) && !down[c];
        unseen_ = missing & missing_;
        missing_ = missing;
    }

    // Every key with every combination of modifiers that changes its character, through the function with
    // which GLUT finds the character.
    void read_layout() {
        layout_.siblings = plain_layout().siblings;
        int first = 0, last = 0;
        XDisplayKeycodes(connection_, &first, &last);
        for (int keycode = first; keycode <= last; ++keycode) {
            characters together;
            std::array<characters, 4> given; // with these modifiers down
            for (unsigned modifiers = 0; modifiers < 64; ++modifiers) {
                XKeyEvent event = {};
                event.type = KeyRelease;
                event.display = connection_;
                event.keycode = static_cast<unsigned>(keycode);
                event.state = (modifiers & 1 ? ShiftMask : 0u) | (modifiers & 2 ? LockMask : 0u) |
                              (modifiers & 4 ? ControlMask : 0u) | (modifiers & 8 ? Mod5Mask : 0u) |
                              modifiers >> 4 << 13; // one of the four layouts at hand
                const auto character = character_of(event);
                if (!character) continue;
                const unsigned with = (modifiers & 3 ? 1u : 0u) | (modifiers & 4 ? 2u : 0u);
                given[with].set(*character);
                together.set(*character);
            }
            for (unsigned with = 0; with < given.size(); ++with)
                for (unsigned c = 0; c < together.size(); ++c)
                    if (given[with][c]) layout_.siblings[with][c] |= together;
        }
        for (key_siblings& siblings : layout_.siblings)
            for (unsigned c = 0; c < siblings.size(); ++c)
                siblings[c].reset(c);
    }

    Display* connection_;
    bool knows_repetitions_;
    held_keys held_;
    bool lost_ = false;
    std::array<characters, 256> typed_; // by each key that is down, by its code
    characters missing_, unseen_;
};

} // namespace

std::unique_ptr<window_system> window_system::of_current_window() {
    Display* display = glXGetCurrentDisplay();
    const GLXDrawable drawable = glXGetCurrentDrawable();
    if (!display || drawable == None) return nullptr;
    XSetIOErrorHandler(on_lost_display);
    // Xlib would begin another exit within the one that is under way.
    XSetIOErrorExitHandler(
        display, [](Display*, void*) {}, nullptr);
    do_not_wait_for_display(display, drawable);
    // The server else repeats a key as releases and presses, which look like the player's own.
    Bool no_false_releases = False;
    XkbSetDetectableAutoRepeat(display, True, &no_false_releases);
    // The window belongs to GLUT's connection; the server has to know it before another one can name it.
    XSync(display, False);
    Display* connection = XOpenDisplay(DisplayString(display));
    return connection ? std::make_unique<x11_window>(connection, drawable, no_false_releases) : nullptr;
}

} // namespace gems
