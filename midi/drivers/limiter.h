#pragma once
// Keeps sound below full scale without distorting it, and without delaying it.

#include <cstddef>

namespace midi {

// A peak limiter for two channels that looks ahead to the end of the block that it is given: what is loud is
// turned down before it comes, along a straight line, and up again slowly. Sound whose peaks stay below the
// ceiling passes through unchanged.
//
// A loud peak at the very beginning of a block comes unannounced and is turned down at once. There the gain
// follows the wave, which has just been below the ceiling, so that even this makes no step in the sound.
class limiter {
public:
    static constexpr float ceiling = 0.98f; // of full scale, 1
    static constexpr std::size_t block = 64;

    // Rate in frames in a second.
    explicit limiter(double sample_rate) { set_rate(sample_rate); }
    void set_rate(double sample_rate);
    // A block, in place. Allocates nothing.
    void process(float* left, float* right);

private:
    float recovery_ = 0; // part of the missing gain that comes back with each frame
    float gain_ = 1;     // of the last frame
};

} // namespace midi
