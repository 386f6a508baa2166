#include "midi/drivers/limiter.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace midi {

namespace {

constexpr double recovery_time = 0.15; // seconds, to 1/e

} // namespace

void limiter::set_rate(double sample_rate) {
    recovery_ = static_cast<float>(1 - std::exp(-1 / (recovery_time * sample_rate)));
}

void limiter::process(float* left, float* right) {
    std::array<float, block> most; // gain that each frame bears
    for (std::size_t i = 0; i < block; ++i) {
        const float peak = std::max(std::abs(left[i]), std::abs(right[i]));
        most[i] = peak > ceiling ? ceiling / peak : 1;
    }
    if (gain_ == 1 && *std::ranges::min_element(most) == 1) return;
    for (std::size_t i = 0; i < block; ++i) {
        // The steepest of the lines to what comes leads below all the others.
        float fall = 0;
        for (std::size_t j = i; j < block; ++j)
            fall = std::max(fall, (gain_ - most[j]) / float(j + 1 - i));
        if (fall == 0) gain_ += recovery_ * (1 - gain_);
        if (gain_ > 0.999f) gain_ = 1; // where the steps of a float would become too coarse
        gain_ = std::min(gain_ - fall, most[i]);
        left[i] *= gain_;
        right[i] *= gain_;
    }
}

} // namespace midi
