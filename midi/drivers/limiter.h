#pragma once
// Keeps sound below full scale without distorting it.

#include <array>
#include <cstddef>

namespace midi {

// A look-ahead peak limiter for two channels: what is loud is turned down before it comes, and up again
// slowly. Sound whose peaks stay below the ceiling passes through unchanged, delayed.
//
// The gain of each frame is the average over the window of the least gain that any frame in the window needs.
// Every one of the averaged values knows of the frame that is played, so no frame can exceed the ceiling.
class limiter {
public:
    static constexpr float ceiling = 0.98f;   // of full scale, 1
    static constexpr std::size_t window = 32; // frames: 0.7 ms at 48 kHz
    static constexpr std::size_t delay = window - 1;

    // Rate in frames in a second.
    explicit limiter(double sample_rate) { set_rate(sample_rate); }
    void set_rate(double sample_rate);
    // In place. Allocates nothing.
    void process(float* left, float* right, std::size_t frames);

private:
    float recovery_ = 0;             // part of the missing gain that comes back with each frame
    float gain_ = 1;                 // after the recovery
    std::size_t at_ = 0;             // in the windows
    std::size_t quiet_ = 2 * window; // frames since anything but 1 has been in the windows
    std::array<float, window> left_{}, right_{}, needed_ = ones(), held_ = ones();

    static constexpr std::array<float, window> ones() {
        std::array<float, window> all{};
        all.fill(1);
        return all;
    }
};

} // namespace midi
