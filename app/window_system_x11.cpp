#include "app/window_system.h"

#include "app/special_keys.h"
#include "app/window_identity_x11.h"
#include "app/x11_event_tap.h"
#include "libutils/report.h"

#include <GL/glx.h>
#include <X11/XKBlib.h>
#include <X11/keysym.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <iterator>
#include <poll.h>
#include <string>
#include <sys/eventfd.h>
#include <utility>
#include <vector>

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
    libutils::report("lost display '", DisplayString(display), "'");
    std::exit(1);
}

// Readable from the first ring to the answer.
const int bell = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
std::atomic<bool> bell_rings = false;

// What GLUT makes of a key event: a character, or the code of a key without one; nothing of all others.
std::optional<unsigned> given_by(XKeyEvent event) {
    char text[32];
    KeySym name = NoSymbol;
    if (XLookupString(&event, text, sizeof text, &name, nullptr) > 0)
        return static_cast<unsigned char>(text[0]);
    struct keys {
        KeySym first, last;
        int code; // of the first
    };
    static constexpr keys known[] = {
        {XK_F1, XK_F12, key_f1},
        {XK_Home, XK_Home, key_home},
        {XK_Left, XK_Next, key_left},
        {XK_End, XK_End, key_end},
        {XK_Insert, XK_Insert, key_insert},
        {XK_KP_Home, XK_KP_Home, key_home},
        {XK_KP_Left, XK_KP_Next, key_left},
        {XK_KP_End, XK_KP_End, key_end},
        {XK_KP_Begin, XK_KP_Begin, key_begin},
        {XK_KP_Insert, XK_KP_Insert, key_insert},
        {XK_KP_Delete, XK_KP_Delete, key_delete},
        {XK_Num_Lock, XK_Num_Lock, key_num_lock},
        {XK_Shift_L, XK_Control_R, key_shift_left},
        {XK_Alt_L, XK_Super_R, key_alt_left},
        // The name of the Alt keys while Shift is down.
        {XK_Meta_L, XK_Meta_R, key_super_left},
    };
    for (const keys& k : known)
        if (name >= k.first && name <= k.last)
            return first_special + unsigned(k.code) + unsigned(name - k.first);
    return std::nullopt;
}

// Watches what comes through GLUT's connection, to which it adds the focus events.
class x11_window final : public window_system {
public:
    x11_window(Display* connection, Window window, bool knows_repetitions, const window_callbacks& call)
        : connection_(connection),
          call_(call),
          knows_repetitions_(knows_repetitions) {
        watched_window = window;
        watcher = this;
        seen_.reserve(1024); // the memory must not end while the connection is locked
        other_errors = XSetErrorHandler(on_error);
        if (has_extension(connection, "GLX_MESA_copy_sub_buffer"))
            copy_part_ = extension_function<PFNGLXCOPYSUBBUFFERMESAPROC>("glXCopySubBufferMESA");
        tap_events(connection, [](const XEvent& event) { watcher->see(event); });
        XWindowAttributes attributes{};
        XGetWindowAttributes(connection, window, &attributes);
        XSelectInput(connection, window, attributes.your_event_mask | FocusChangeMask | KeymapStateMask);
    }
    ~x11_window() override { tap_events(connection_, nullptr); }
    x11_window(const x11_window&) = delete;
    x11_window& operator=(const x11_window&) = delete;

    bool window_gone() override { return watched_window_gone; }

    bool keeps_picture() override {
        if (whole_pictures_due_ == 0) return copy_part_;
        --whole_pictures_due_;
        return false;
    }
    void show_parts(std::span<const render::pixel_rect> parts) override {
        for (const render::pixel_rect& part : parts)
            copy_part_(connection_, watched_window, part.left, part.bottom, part.width(), part.height());
    }

    void answer_rings(void (*answer)()) override { answer_ = answer; }
    bool sleeps_itself() const override { return true; }
    void sleep(std::chrono::milliseconds most) override {
        // What has been read while a picture was drawn waits in the library, not in the connection.
        if (XEventsQueued(connection_, QueuedAfterFlush) == 0) {
            pollfd waiting[] = {{ConnectionNumber(connection_), POLLIN, 0}, {bell, POLLIN, 0}};
            poll(waiting, std::size(waiting), static_cast<int>(most.count()));
        }
        eventfd_t rings;
        eventfd_read(bell, &rings);
        if (bell_rings.exchange(false) && answer_) answer_();
    }
    bool knows_repetitions() const override { return knows_repetitions_; }

    std::optional<unsigned> place_of_key(unsigned gives, bool pressed) override {
        if (!knows_repetitions_) return std::nullopt;
        const auto found = std::ranges::find_if(seen_, [&](const XEvent& event) {
            return event.type == (pressed ? KeyPress : KeyRelease) && given_by(event.xkey) == gives;
        });
        if (found == seen_.end()) return std::nullopt;
        const unsigned place = found->xkey.keycode;
        handled_ = static_cast<std::size_t>(seen_.erase(found) - seen_.begin());
        return place;
    }

    void handle_keys(key_handler handle) override {
        while (knows_repetitions_ && XEventsQueued(connection_, QueuedAfterReading) > 0) {
            XEvent event;
            XPeekEvent(connection_, &event);
            const bool is_key = event.type == KeyPress || event.type == KeyRelease;
            if (!is_key || event.xkey.window != watched_window) return;
            XNextEvent(connection_, &event);
            if (const auto gives = given_by(event.xkey))
                handle(*gives, event.type == KeyPress, event.xkey.x, event.xkey.y);
            else
                pass_over(event.xkey);
        }
    }

    std::optional<keyboard_news> next_news() override {
        while (handled_ > 0) {
            const XEvent event = seen_.front();
            seen_.erase(seen_.begin());
            --handled_;
            if (event.type == FocusOut) return keyboard_news{keyboard_news::lost};
            // GLUT tells nothing of a key that has no character with the modifiers of that moment.
            if ((event.type == KeyPress || event.type == KeyRelease) && knows_repetitions_)
                return keyboard_news{event.type == KeyPress ? keyboard_news::pressed
                                                            : keyboard_news::released,
                                     event.xkey.keycode};
            const bool back = std::exchange(back_, event.type == FocusIn);
            if (event.type == KeymapNotify && back) return regained(event.xkeymap);
        }
        return std::nullopt;
    }
    void end_of_round() override {
        if (XEventsQueued(connection_, QueuedAlready) == 0) handled_ = seen_.size();
    }

private:
    void see(const XEvent& event) {
        if (event.type == DestroyNotify) {
            watched_window_gone |= event.xdestroywindow.window == watched_window;
        } else if (event.type == Expose) {
            if (event.xexpose.window == watched_window)
                whole_pictures_due_ = std::max(whole_pictures_due_, 1);
        } else if (event.type == ConfigureNotify) {
            if (event.xconfigure.window == watched_window) whole_pictures_due_ = after_new_size;
        } else if (event.type == KeymapNotify || event.xany.window == watched_window) {
            const bool of_focus = event.type == FocusIn || event.type == FocusOut;
            if (of_focus && !takes_keyboard(event.xfocus)) return;
            seen_.push_back(event);
            if (!of_focus) call_.news_waits();
        }
    }
    // A key event that nobody will be told of is news.
    void pass_over(const XKeyEvent& key) {
        const auto found = std::ranges::find_if(seen_, [&](const XEvent& event) {
            return event.type == key.type && event.xkey.keycode == key.keycode && event.xkey.time == key.time;
        });
        if (found != seen_.end()) handled_ = static_cast<std::size_t>(found - seen_.begin()) + 1;
    }
    // Grabs count: key releases go to whoever grabs.
    static bool takes_keyboard(const XFocusChangeEvent& event) {
        return event.detail != NotifyInferior && event.detail != NotifyPointer;
    }
    static keyboard_news regained(const XKeymapEvent& event) {
        keyboard_news news{keyboard_news::regained};
        for (unsigned key = 0; key < 256; ++key)
            news.down[key] = event.key_vector[key / 8] >> key % 8 & 1;
        return news;
    }

    static x11_window* watcher;

    Display* connection_;
    window_callbacks call_;
    bool knows_repetitions_;
    std::vector<XEvent> seen_; // and not told yet
    std::size_t handled_ = 0;  // of these, by GLUT
    bool back_ = false;        // the focus; which keys are down comes next
    void (*answer_)() = nullptr;
    PFNGLXCOPYSUBBUFFERMESAPROC copy_part_ = nullptr;
    // The GL may notice a new size only when buffers are swapped, and draws once more into those of the old
    // one.
    static constexpr int after_new_size = 2;
    int whole_pictures_due_ = after_new_size;
};

x11_window* x11_window::watcher = nullptr;

} // namespace

void window_system::ring() noexcept {
    if (!bell_rings.exchange(true)) eventfd_write(bell, 1);
}

std::unique_ptr<window_system> window_system::of_current_window(const window_callbacks& call) {
    Display* display = glXGetCurrentDisplay();
    const GLXDrawable drawable = glXGetCurrentDrawable();
    if (!display || drawable == None) return nullptr;
    XSetIOErrorHandler(on_lost_display);
    // Xlib would begin another exit within the one that is under way.
    XSetIOErrorExitHandler(
        display, [](Display*, void*) {}, nullptr);
    do_not_wait_for_display(display, drawable);
    introduce(display, drawable);
    // The server else repeats a key as releases and presses, which look like the player's own.
    Bool no_false_releases = False;
    XkbSetDetectableAutoRepeat(display, True, &no_false_releases);
    return std::make_unique<x11_window>(display, drawable, no_false_releases, call);
}

} // namespace gems
