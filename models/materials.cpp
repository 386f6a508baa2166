#include "models/materials.h"

#include <algorithm>
#include <cmath>

namespace models {
namespace {

// A fixed pseudo-random value in [0, 1) for a lattice point.
float lattice(std::uint32_t x, std::uint32_t y, std::uint32_t seed) {
    std::uint32_t h = x * 0x9E3779B1u ^ y * 0x85EBCA77u ^ seed * 0xC2B2AE3Du;
    h = (h ^ h >> 15) * 0x2C1B3C6Du;
    h = (h ^ h >> 12) * 0x297A2D39u;
    h ^= h >> 15;
    return static_cast<float>(h >> 8) / 16777216.0f;
}

// Smooth noise in [0, 1) that repeats after 1 in s and t, with that many lattice cells in between.
float noise(float s, float t, std::uint32_t cells_s, std::uint32_t cells_t, std::uint32_t seed) {
    const float x = s * static_cast<float>(cells_s), y = t * static_cast<float>(cells_t);
    const float fx = std::floor(x), fy = std::floor(y);
    const auto wrap = [](float f, std::uint32_t cells) { return static_cast<std::uint32_t>(f) % cells; };
    const std::uint32_t x0 = wrap(fx, cells_s), x1 = (x0 + 1) % cells_s;
    const std::uint32_t y0 = wrap(fy, cells_t), y1 = (y0 + 1) % cells_t;
    const auto smooth = [](float f) { return f * f * (3 - 2 * f); };
    const float u = smooth(x - fx), v = smooth(y - fy);
    const float low = lattice(x0, y0, seed) + u * (lattice(x1, y0, seed) - lattice(x0, y0, seed));
    const float high = lattice(x0, y1, seed) + u * (lattice(x1, y1, seed) - lattice(x0, y1, seed));
    return low + v * (high - low);
}

// Streaks along t: broad ones that wander slowly and finer ones within them. About 0.5 on average.
float grain(float s, float t) {
    const float wander = 0.03f * noise(s, t, 3, 2, 7);
    return 0.6f * noise(s + wander + 1, t, 12, 3, 1) + 0.4f * noise(s + wander + 1, t, 32, 6, 2);
}

std::uint8_t byte(float value) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0f, 1.0f) * 255));
}

// Fills a picture from a function of (s, t) that writes one value in 0..255 per channel.
template <typename Pixel>
picture paint(unsigned width, unsigned height, unsigned channels, Pixel pixel) {
    picture result{width, height, channels, {}};
    result.pixels.reserve(std::size_t{width} * height * channels);
    for (unsigned y = 0; y < height; ++y)
        for (unsigned x = 0; x < width; ++x)
            pixel((static_cast<float>(x) + 0.5f) / static_cast<float>(width),
                  (static_cast<float>(y) + 0.5f) / static_cast<float>(height),
                  [&](std::uint8_t value) { result.pixels.push_back(value); });
    return result;
}

} // namespace

material make_ivory() {
    material ivory;
    ivory.color = paint(128, 64, 3, [](float s, float t, auto put) {
        const float streak = grain(s, t) - 0.5f;
        const float cloud = noise(s, t, 4, 3, 11) - 0.5f;
        const float light = 1 + 0.05f * streak + 0.03f * cloud;
        put(byte(0.985f * light));
        put(byte(0.965f * light - 0.010f * cloud));
        put(byte(0.910f * light - 0.030f * streak - 0.015f * cloud));
    });
    // The GL keeps only what is not below 0 of a stored normal, so the grain leans to one side only.
    ivory.bump = paint(128, 64, 3, [](float s, float t, auto put) {
        const float lean = 0.05f * grain(s, t);
        const float wave = 0.02f * noise(s, t, 8, 8, 5);
        const float length = std::sqrt(lean * lean + wave * wave + 1);
        for (const float part : {lean / length, wave / length, 1 / length})
            put(static_cast<std::uint8_t>(std::lround(127 * part)));
    });
    ivory.specular = paint(64, 64, 3, [](float s, float t, auto put) {
        const float polish = 0.30f + 0.10f * (grain(s, t) - 0.5f);
        put(byte(polish));
        put(byte(polish * 0.99f));
        put(byte(polish * 0.95f));
    });
    return ivory;
}

material make_satin_black() {
    material black;
    black.color = paint(32, 32, 3, [](float s, float t, auto put) {
        const float light = 0.070f + 0.015f * noise(s, t, 16, 8, 21);
        put(byte(light));
        put(byte(light));
        put(byte(light * 1.1f));
    });
    black.bump = paint(32, 32, 1,
                       [](float s, float t, auto put) { put(byte(0.5f + 0.06f * noise(s, t, 16, 16, 22))); });
    black.specular = paint(32, 32, 3, [](float s, float t, auto put) {
        const float sheen = 0.62f + 0.08f * noise(s, t, 16, 16, 23);
        put(byte(sheen));
        put(byte(sheen));
        put(byte(sheen * 1.02f));
    });
    return black;
}

picture make_walnut() {
    return paint(128, 64, 3, [](float s, float t, auto put) {
        const float fine = noise(s, t, 64, 8, 21) - 0.5f, streak = grain(s, t) - 0.5f;
        const float light = 1 + 0.9f * streak + 0.3f * fine;
        put(byte(0.36f * light));
        put(byte(0.195f * light));
        put(byte(0.105f * light));
    });
}

} // namespace models
