#pragma once
// Watches the events of another connection to the X server without removing them.

#include <X11/Xlib.h>

namespace gems {

// From now on `see` is called with every event that the connection receives, before its owner handles it. It
// must not use the connection, which is locked, nor end the program. One connection at a time; null ends it.
void tap_events(Display* connection, void (*see)(const XEvent&));

} // namespace gems
