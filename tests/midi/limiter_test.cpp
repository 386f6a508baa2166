#include "midi/drivers/limiter.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>

namespace {

TEST(limiter, turns_down_along_a_line_to_the_peak_and_up_again_slowly) {
    constexpr float quiet = 0.5f, peak = 2 * midi::limiter::ceiling;
    constexpr int at = 40, blocks_in_recovery_time = 7200 * 2 / 64;
    midi::limiter limiter(96000);
    std::array<float, midi::limiter::block> left, right;
    const auto play = [&](float loud) {
        left.fill(quiet);
        right.fill(0);
        right[at] = loud;
        limiter.process(left.data(), right.data());
    };
    play(-peak);
    for (std::size_t i = 0; i <= at; ++i)
        EXPECT_NEAR(left[i] / quiet, 1 - 0.5 * double(i + 1) / (at + 1), 1e-5) << i;
    EXPECT_NEAR(right[at], -midi::limiter::ceiling, 1e-5);
    for (int block = 0; block < blocks_in_recovery_time; ++block)
        play(0);
    EXPECT_NEAR(left.back() / quiet, 1 - 0.5 * std::exp(-1), 0.001);
    for (int block = 0; block < 12 * blocks_in_recovery_time; ++block)
        play(0);
    EXPECT_EQ(left.back(), quiet);
}

} // namespace
