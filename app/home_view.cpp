#include "app/home_view.h"

#include "render/math/matrix.h"
#include "render/math/operations.h"
#include "render/math/projection.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace quenvarel {

using render::pos3;

namespace {

// Half the width of the white keys, z of the edge of theirs that is nearest to the player, and y of its end.
constexpr double half_width = 37.5, front = 9.4, bottom = -0.8;
constexpr double share_of_width = 0.97;
constexpr double narrowest = 0.05;

// What the view is like for windows from as wide as high to eight times as wide, each twice as wide as the
// one before: how steeply one looks down at the keys' front edge, in degrees, and how high that lies in the
// window, from -1 (bottom) to 1.
struct framing {
    double steepness, front;
};
constexpr std::array framings = {framing{60, -0.70}, framing{60, -0.68}, framing{60, -0.64},
                                 framing{51, -0.74}};

framing framing_for(double aspect) {
    const double place = std::clamp(std::log2(aspect), 0.0, double(framings.size() - 1));
    const auto before = std::min(static_cast<std::size_t>(place), framings.size() - 2);
    const double share = place - double(before);
    const framing &from = framings[before], &to = framings[before + 1];
    return {std::lerp(from.steepness, to.steepness, share), std::lerp(from.front, to.front, share)};
}

} // namespace

render::perspective lens(double aspect) {
    return {.fov = std::numbers::pi / 2, .aspect = aspect, .znear = 0.0625, .zfar = 1024};
}

camera_t fitted_camera(double aspect) {
    aspect = std::max(aspect, narrowest); // from farther away nothing is seen
    const framing wanted = framing_for(aspect);
    const render::projection seen = render::to_projection(lens(aspect));
    const double distance = half_width / share_of_width * seen.znear / seen.right; // along the camera's axis
    const double above = wanted.front * distance * seen.top / seen.znear; // of the edge above the axis
    const double angle =
        wanted.steepness * std::numbers::pi / 180 + std::atan(above / distance); // of the axis
    const double c = std::cos(angle), s = std::sin(angle);
    // From the edge back along the axis (0, -s, -c), and down along the picture's upright (0, c, -s).
    const double y = distance * s - above * c, z = front + distance * c + above * s;
    const double to_keys = y / s; // where the axis meets the tops of the keys
    const pos3 eye = {0, float(y), float(z)};
    return {{eye.x - camera_offset.x, eye.y - camera_offset.y, eye.z - camera_offset.z},
            {0, 0, float(z - to_keys * c)}};
}

camera_t home_camera(double aspect) {
    const camera_t fitted = fitted_camera(aspect);
    return {fitted.eye + camera_offset, fitted.target};
}

double room_below_keys(double aspect) {
    const render::vec3w end = render::perspective_matrix(render::to_projection(lens(aspect))) *
                              view_matrix(home_camera(aspect)) *
                              render::vec3w{0, float(bottom), float(front), 1};
    return (1 + double(end.y) / double(end.w)) / 2;
}

} // namespace quenvarel
