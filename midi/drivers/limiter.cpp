#include "midi/drivers/limiter.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace midi {

namespace {

constexpr double recovery_time = 0.15; // seconds, to 1/e

} // namespace

void limiter::set_rate(double sample_rate) {
    recovery_ = static_cast<float>(1 - std::exp(-1 / (recovery_time * sample_rate)));
}

void limiter::process(float* left, float* right, std::size_t frames) {
    for (std::size_t i = 0; i < frames; ++i) {
        const float peak = std::max(std::abs(left[i]), std::abs(right[i]));
        needed_[at_] = peak > ceiling ? ceiling / peak : 1;
        const float least = *std::min_element(needed_.begin(), needed_.end());
        gain_ = std::min(least, gain_ + recovery_ * (1 - gain_));
        if (gain_ > 0.9999f) gain_ = std::min(least, 1.0f);
        held_[at_] = gain_;
        quiet_ = gain_ < 1 ? 0 : quiet_ + 1;
        // Rounding must not change sound that needs no limiting.
        const float gain =
            quiet_ >= window ? 1 : std::accumulate(held_.begin(), held_.end(), 0.0f) / float(window);
        const std::size_t oldest = (at_ + 1) % window;
        const float now[2] = {left[i], right[i]};
        left[i] = left_[oldest] * gain;
        right[i] = right_[oldest] * gain;
        left_[at_] = now[0];
        right_[at_] = now[1];
        at_ = oldest;
    }
}

} // namespace midi
