#pragma once
// One pixel of a normal map, by the formula. Private to libgr/image and its tests.

#include "render/math/operations.h"

#include <cmath>

namespace libgr {

// A unit vector whose components are multiplied by 127 and rounded, halves away from zero.
struct normal {
    signed char x, y, z;
};

struct exact_normal {
    float scaled[3]; // not yet rounded

    normal rounded() const {
        const auto round = [](float v) { return static_cast<signed char>(v < 0 ? v - 0.5f : v + 0.5f); };
        return {round(scaled[0]), round(scaled[1]), round(scaled[2])};
    }
};

// The height of a sample: a 255th, as far as single precision goes.
inline float height_of(int sample) {
    return float(sample) * 0.003921569f;
}

// The normal where the height grows by so much to the next pixel to the right and upwards. Each difference d
// is the sine of a slope, whose other component is sqrt(1 - d * d); the two slopes are added
// and brought to unit length.
inline exact_normal normal_of_differences(float right, float up) {
    const float z = std::sqrt(1.0f - right * right) + std::sqrt(1.0f - up * up);
    render::dir3 n = render::normalise(render::dir3{right, up, z});
    if (n == render::dir3{0.0f, 0.0f, 0.0f}) n.z = 1.0f;
    return {{127.0f * n.x, 127.0f * n.y, 127.0f * n.z}};
}

inline normal normal_of_heights(int here, int right, int up) {
    return normal_of_differences(height_of(right) - height_of(here), height_of(up) - height_of(here))
        .rounded();
}

} // namespace libgr
