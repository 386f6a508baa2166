#include "models/studio.h"

#include "render/math/cube_map.h"
#include "render/math/operations.h"
#include "render/math/types.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace models {
namespace {

using render::col3;
using render::cube_direction;
using render::dir3;
using render::smooth_step;

constexpr unsigned size = 128;

col3 mix(const col3& a, const col3& b, float share) {
    return {a.r + (b.r - a.r) * share, a.g + (b.g - a.g) * share, a.b + (b.b - a.b) * share};
}

void add(col3& to, const col3& light, float share) {
    to = {to.r + light.r * share, to.g + light.g * share, to.b + light.b * share};
}

// A rectangular lamp with soft edges on a plane before the direction `at`; half its width and height there.
float lamp(const dir3& d, const dir3& at, float width, float height, float softness) {
    const dir3 n = normalise(at), right = normalise(cross(dir3{0, 1, 0}, n)), up = cross(n, right);
    const float ahead = dot(d, n);
    if (ahead <= 0.05f) return 0;
    const float x = std::abs(dot(d, right) / ahead), y = std::abs(dot(d, up) / ahead);
    return smooth_step(width + softness, width - softness, x) *
           smooth_step(height + softness, height - softness, y);
}

col3 light_from(const dir3& direction) {
    const dir3 d = normalise(direction);
    constexpr col3 floor = {0.105f, 0.090f, 0.080f}, near_floor = {0.235f, 0.205f, 0.185f};
    constexpr col3 wall = {0.335f, 0.330f, 0.335f}, ceiling = {0.13f, 0.14f, 0.16f};
    col3 light = d.y < 0 ? mix(floor, near_floor, smooth_step(-0.95f, -0.10f, d.y)) : wall;
    if (d.y >= -0.10f) light = mix(near_floor, wall, smooth_step(-0.10f, 0.22f, d.y));
    if (d.y > 0.22f) light = mix(wall, ceiling, smooth_step(0.22f, 0.75f, d.y));
    // The wall behind the case is lit from below its middle.
    if (d.z < 0)
        add(light, {0.20f, 0.17f, 0.13f}, smooth_step(0.75f, 1.0f, dot(d, normalise(dir3{0, 0.05f, -1}))));
    // Behind the player it is brighter, with a window that lacquer shows.
    if (d.z > 0) add(light, {0.34f, 0.33f, 0.33f}, d.z * smooth_step(-0.85f, 0.20f, d.y));
    add(light, {0.80f, 0.78f, 0.74f}, lamp(d, {0.0f, 0.70f, -0.71f}, 0.75f, 0.13f, 0.30f));
    add(light, {0.60f, 0.58f, 0.54f}, lamp(d, {-0.55f, 0.50f, 0.70f}, 0.55f, 0.40f, 0.22f));
    return light;
}

// Noise of half a step, without which slow gradients show their steps.
float dither(unsigned x, unsigned y, unsigned channel) {
    std::uint32_t h = x * 0x9E3779B1u ^ y * 0x85EBCA77u ^ channel * 0xC2B2AE3Du;
    h = (h ^ h >> 15) * 0x2C1B3C6Du;
    h = (h ^ h >> 12) * 0x297A2D39u;
    return static_cast<float>((h ^ h >> 15) >> 8) / 16777216.0f;
}

std::uint8_t byte(float value, float noise) {
    return static_cast<std::uint8_t>(std::clamp(value * 255 + noise, 0.0f, 255.0f));
}

} // namespace

std::array<picture, 6> make_studio() {
    std::array<picture, 6> faces;
    for (std::size_t face = 0; face < faces.size(); ++face) {
        faces[face] = {size, size, 3, {}};
        std::vector<std::uint8_t>& pixels = faces[face].pixels;
        pixels.reserve(std::size_t{size} * size * 3);
        for (unsigned y = 0; y < size; ++y)
            for (unsigned x = 0; x < size; ++x) {
                const auto along = [](unsigned i) {
                    return 2 * (static_cast<float>(i) + 0.5f) / static_cast<float>(size) - 1;
                };
                const col3 light = light_from(cube_direction(face, along(x), -along(y)));
                unsigned channel = 0;
                for (const float part : {light.r, light.g, light.b})
                    pixels.push_back(byte(part, dither(x, y, channel++)));
            }
    }
    return faces;
}

} // namespace models
