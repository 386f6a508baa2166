#pragma once
// What a desktop shows of a window: which program it belongs to, and its icon.

#include <X11/Xlib.h>

namespace gems {

void introduce(Display* display, Window window);

} // namespace gems
