#pragma once
// Sound read from a WAV file, and what can be measured in it.

#include <cstdint>
#include <string>
#include <vector>

namespace test_support {

struct sound {
    double rate = 0;                 // frames in a second
    std::vector<double> left, right; // full scale is 1

    double seconds() const { return rate > 0 ? double(left.size()) / rate : 0; }
    // The root mean square of both channels between two times in seconds.
    double level(double from, double to) const;
    // The frequency near the expected one (half a semitone up and down) that is strongest between two times.
    double pitch_near(double expected, double from, double to) const;
};

// Reads 16-bit stereo; an empty sound for anything else and for a header that promises more than is there.
sound read_wav(const std::string& name);

} // namespace test_support
