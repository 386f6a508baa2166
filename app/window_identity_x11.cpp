#include "app/window_identity_x11.h"

#include <X11/Xatom.h>
#include <X11/Xutil.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace gems {

namespace {

constexpr std::uint32_t icons[] = {
#include "window_icon.inc"
};

// Xlib takes numbers of 32 bits as longs, whatever their size.
template <class Numbers>
void set_numbers(Display* display, Window window, const char* property, const Numbers& numbers) {
    const std::vector<unsigned long> longs(std::begin(numbers), std::end(numbers));
    XChangeProperty(display, window, XInternAtom(display, property, False), XA_CARDINAL, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(longs.data()), static_cast<int>(longs.size()));
}

} // namespace

void introduce(Display* display, Window window) {
    // The names by which the desktop entry is found.
    std::string name = "quenvarel", class_name = "Quenvarel";
    XClassHint hint{name.data(), class_name.data()};
    XSetClassHint(display, window, &hint);

    // A number of a process means something only with the machine that it runs on.
    std::array<char, 256> host{};
    if (gethostname(host.data(), host.size() - 1) == 0) {
        XChangeProperty(display, window, XA_WM_CLIENT_MACHINE, XA_STRING, 8, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(host.data()),
                        static_cast<int>(std::string(host.data()).size()));
        set_numbers(display, window, "_NET_WM_PID", std::array{getpid()});
    }
    set_numbers(display, window, "_NET_WM_ICON", icons);
}

} // namespace gems
