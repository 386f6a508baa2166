#pragma once
// Where the keys are in a window of the usual size, seen from where the program shows them at first.

#include "app/home_view.h"
#include "models/key_layout.h"
#include "render/math/matrix.h"
#include "render/math/operations.h"
#include "render/math/projection.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace test_support {

constexpr int window_width = 800, window_height = 200;

// Where a point of the keyboard at rest is drawn, in pixels from the lower left.
inline render::pos2 seen(const render::pos3& p) {
    const render::mtx3w to_clip = render::perspective_matrix(render::to_projection(quenvarel::lens(4))) *
                                  quenvarel::view_matrix(quenvarel::home_camera(4));
    const render::pos3 at = render::homogeneous_divide(to_clip * render::vec3w{p.x, p.y, p.z, 1});
    return {(at.x + 1) / 2 * window_width, (at.y + 1) / 2 * window_height};
}

// The middle of what is seen of a key's top: near the player for white keys, and between the black ones.
inline render::pos2 head_of(int key) {
    const models::key_place place = models::place_of(key);
    const float middle = (place.left + place.right) / 2;
    return place.black ? seen({middle, 0.5f, models::key_back + 1.8f})
                       : seen({middle, 0, models::key_back + 5.3f});
}
inline render::pos2 tail_of(int key) {
    const models::key_place place = models::place_of(key);
    return seen({(place.tail_left + place.tail_right) / 2, place.black ? 0.5f : 0, models::key_back + 1.8f});
}

// A column in which a key's front edge is seen: on the side that is nearer to the middle of the keyboard,
// since on the other one the side of a neighbour that is down comes into the picture below it.
inline int front_column(int key) {
    const models::key_place place = models::place_of(key);
    const float share = (place.left + place.right) / 2 < 0 ? 0.75f : 0.25f;
    return static_cast<int>(seen({place.left + share * (place.right - place.left), -0.8f,
                                  models::key_back + models::white_length})
                                .x);
}

inline int brightness(const std::array<int, 4>& pixel) {
    return (pixel[0] + pixel[1] + pixel[2]) / 3;
}

// The lowest row of a column in which something is drawn on the background: a key's front edge.
template <class Picture>
int front_edge(const Picture& image, int x) {
    const auto background = image.at(0, 0);
    int y = 0;
    while (y < image.height && image.at(x, y) == background)
        ++y;
    return y;
}

} // namespace test_support
