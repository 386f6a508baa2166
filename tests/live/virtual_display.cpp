#include "virtual_display.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <algorithm>
#include <csignal>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace test_support {

using std::chrono::milliseconds;
using clock = std::chrono::steady_clock;

namespace {

void run_on(const std::string& display, std::vector<std::string> command) {
    const process_result result = run(command, {{{"DISPLAY", display}}, {}});
    if (result.exit_code != 0) throw std::runtime_error(command.front() + ": " + result.err);
}

} // namespace

virtual_display::virtual_display(const std::string& layout, const std::string& size)
    : server_({"Xvfb", "-displayfd", "1", "-screen", "0", size + "x24", "-noreset", "-nolisten", "tcp"}) {
    if (!server_.wait_for_out("\n")) throw std::runtime_error("Xvfb: " + server_.err());
    name_ = ':' + server_.out().substr(0, server_.out().find('\n'));
    set_layout(layout);
    connection_ = XOpenDisplay(name_.c_str());
    if (!connection_) throw std::runtime_error("cannot open display " + name_);
}

virtual_display::~virtual_display() {
    // A server that is asked to end removes its lock.
    if (connection_) XCloseDisplay(connection_);
    server_.send_signal(SIGTERM);
    server_.wait();
}

void virtual_display::set_layout(const std::string& layout) {
    run_on(name_, {"setxkbmap", layout});
}

virtual_display::window virtual_display::find_window(const std::string& title, milliseconds limit) {
    const auto end = clock::now() + limit;
    do {
        Window root, parent, *children = nullptr;
        unsigned count = 0;
        window found = 0;
        // Nothing appears or goes while we look.
        XGrabServer(connection_);
        XQueryTree(connection_, DefaultRootWindow(connection_), &root, &parent, &children, &count);
        for (unsigned i = 0; i < count; ++i) {
            char* name = nullptr;
            XWindowAttributes attributes;
            if (XFetchName(connection_, children[i], &name) && name &&
                std::string_view(name).starts_with(title) &&
                XGetWindowAttributes(connection_, children[i], &attributes) &&
                attributes.map_state == IsViewable)
                found = children[i];
            if (name) XFree(name);
        }
        if (children) XFree(children);
        XUngrabServer(connection_);
        XSync(connection_, False);
        if (found) return found;
        std::this_thread::sleep_for(milliseconds(5));
    } while (clock::now() < end);
    return 0;
}

void virtual_display::send_protocol(window w, const char* name) {
    const Atom wanted = XInternAtom(connection_, name, False);
    Atom* taken = nullptr;
    int count = 0;
    XGetWMProtocols(connection_, w, &taken, &count);
    const bool takes = taken && std::find(taken, taken + count, wanted) != taken + count;
    if (taken) XFree(taken);
    if (!takes) return;
    XEvent event = {};
    event.xclient.type = ClientMessage;
    event.xclient.window = w;
    event.xclient.message_type = XInternAtom(connection_, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(wanted);
    event.xclient.data.l[1] = CurrentTime;
    XSendEvent(connection_, w, False, NoEventMask, &event);
    XSync(connection_, False);
}

std::vector<unsigned long> virtual_display::property(window w, const std::string& name) {
    Atom type;
    int format = 0;
    unsigned long count = 0, rest;
    unsigned char* data = nullptr;
    XGetWindowProperty(connection_, w, XInternAtom(connection_, name.c_str(), False), 0, 1 << 24, False,
                       AnyPropertyType, &type, &format, &count, &rest, &data);
    std::vector<unsigned long> numbers(count);
    for (unsigned long i = 0; i < count; ++i)
        numbers[i] = format == 32 ? reinterpret_cast<const unsigned long*>(data)[i] : data[i];
    if (data) XFree(data);
    return numbers;
}

void virtual_display::move(window w, int x, int y) {
    XMoveWindow(connection_, w, x, y);
    XSync(connection_, False);
}

picture virtual_display::screenshot(window w) {
    XWindowAttributes about{};
    if (!XGetWindowAttributes(connection_, w, &about)) return {};
    XImage* const image =
        XGetImage(connection_, w, 0, 0, unsigned(about.width), unsigned(about.height), AllPlanes, ZPixmap);
    if (!image) return {};
    picture shot{about.width, about.height, {}};
    for (int y = 0; y < about.height; ++y)
        for (int x = 0; x < about.width; ++x) {
            const unsigned long pixel = XGetPixel(image, x, y);
            for (const int shift : {16, 8, 0})
                shot.rgba.push_back(std::uint8_t(pixel >> shift));
            shot.rgba.push_back(255);
        }
    XDestroyImage(image);
    return shot;
}

bool virtual_display::focus(window w) {
    static bool gone;
    gone = false;
    const XErrorHandler others = XSetErrorHandler([](Display*, XErrorEvent*) {
        gone = true;
        return 0;
    });
    XSetInputFocus(connection_, w, RevertToPointerRoot, CurrentTime);
    send_protocol(w, "WM_TAKE_FOCUS");
    XWarpPointer(connection_, None, w, 0, 0, 0, 0, 20, 20);
    XSync(connection_, False);
    XSetErrorHandler(others);
    return !gone;
}

void virtual_display::focus_elsewhere() {
    if (!elsewhere_) {
        const int screen = DefaultScreen(connection_);
        elsewhere_ =
            XCreateSimpleWindow(connection_, RootWindow(connection_, screen), 900, 900, 50, 50, 0, 0, 0);
        XSelectInput(connection_, elsewhere_, StructureNotifyMask);
        XMapWindow(connection_, elsewhere_);
        XEvent event;
        XIfEvent(
            connection_, &event, [](Display*, XEvent* e, XPointer) -> Bool { return e->type == MapNotify; },
            nullptr);
    }
    XSetInputFocus(connection_, elsewhere_, RevertToPointerRoot, CurrentTime);
    XSync(connection_, False);
}

void virtual_display::grab_keyboard() {
    XGrabKeyboard(connection_, DefaultRootWindow(connection_), False, GrabModeAsync, GrabModeAsync,
                  CurrentTime);
    XSync(connection_, False);
}

void virtual_display::ungrab_keyboard() {
    XUngrabKeyboard(connection_, CurrentTime);
    XSync(connection_, False);
}

void virtual_display::request_close(window w) {
    send_protocol(w, "WM_DELETE_WINDOW");
}

void virtual_display::drive(const std::string& commands) {
    std::vector<std::string> command = {"xdotool"};
    std::istringstream words(commands);
    for (std::string word; words >> word;) {
        command.push_back(word);
        if (word == "keydown" || word == "keyup" || word == "key")
            command.insert(command.end(), {"--delay", "0"});
    }
    run_on(name_, command);
}

bool virtual_display::repeats_keys() {
    XKeyboardState state;
    XGetKeyboardControl(connection_, &state);
    return state.global_auto_repeat == AutoRepeatModeOn;
}

void virtual_display::kill() {
    // Ours would end this process with the server.
    XCloseDisplay(connection_);
    connection_ = nullptr;
    server_.send_signal(SIGKILL);
    server_.wait();
}

} // namespace test_support
