#pragma once
// Where the keyboard is seen from until someone turns it.

#include "app/camera.h"
#include "render/math/types.h"

namespace quenvarel {

// The lens of the picture; its angle is measured across the diagonal of the window.
render::perspective lens(double aspect);

// Adding this to the eye of a fitted view leads home.
inline constexpr render::dir3 camera_offset = {0.0f, 5.0f, -40.0f};

// For a window so many times as wide as it is high: the white keys fill nearly the whole width, and the eye
// is the higher, the taller the window is, since that shows more of their length.
camera_t home_camera(double aspect);
// The same without the offset.
camera_t fitted_camera(double aspect);

// The share of the window's height that lies below the keys then.
double room_below_keys(double aspect);

} // namespace quenvarel
