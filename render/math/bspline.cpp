#include "render/math/bspline.h"

#include <memory>

namespace render {

namespace {

// Raises the k values of order 1 in `n` to the one value of order k, order by order.
float raise(float* n, std::size_t k, float u, const float* t) {
    for (std::size_t j = 0; j < k; ++j)
        n[j] = t[j] <= u && u <= t[j + 1] && t[j] != t[j + 1] ? 1.0f : 0.0f;
    for (std::size_t order = 2; order <= k; ++order) {
        for (std::size_t j = 0; j + order <= k; ++j) {
            const float left_span = t[j + order - 1] - t[j];
            const float right_span = t[j + order] - t[j + 1];
            const float left = n[j] == 0.0f || left_span == 0.0f ? 0.0f : (u - t[j]) / left_span * n[j];
            const float right =
                n[j + 1] == 0.0f || right_span == 0.0f ? 0.0f : (t[j + order] - u) / right_span * n[j + 1];
            n[j] = left + right;
        }
    }
    return n[0];
}

} // namespace

float bspline_basis(std::size_t i, std::size_t k, float u, const float* knots) {
    constexpr std::size_t usual = 16;
    if (k <= usual) {
        float values[usual] = {};
        return raise(values, k, u, knots + i);
    }
    const auto values = std::make_unique<float[]>(k);
    return raise(values.get(), k, u, knots + i);
}

} // namespace render
