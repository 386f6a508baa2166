#include "app/x11_event_tap.h"

#include <array>
#include <utility>

// Where Xlib keeps what its extensions may use. Last: it defines macros with common names.
#include <X11/Xlibint.h>

namespace gems {

namespace {

using to_event = Bool (*)(Display*, XEvent*, xEvent*);

std::array<to_event, LASTEvent> converters;
void (*see_event)(const XEvent&) = nullptr;

// As the library turns the bytes from the server into the event that waits for XNextEvent.
Bool convert(Display* connection, XEvent* event, xEvent* bytes) {
    if (!converters[bytes->u.u.type & 0x7F](connection, event, bytes)) return False;
    if (see_event) see_event(*event);
    return True;
}

} // namespace

void tap_events(Display* connection, void (*see)(const XEvent&)) {
    see_event = see;
    for (int type :
         {KeyPress, KeyRelease, FocusIn, FocusOut, KeymapNotify, Expose, ConfigureNotify, DestroyNotify}) {
        to_event& converter = converters[static_cast<std::size_t>(type)];
        if (see && !converter) converter = XESetWireToEvent(connection, type, convert);
        if (!see && converter) XESetWireToEvent(connection, type, std::exchange(converter, nullptr));
    }
}

} // namespace gems
