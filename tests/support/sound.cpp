#include "support/sound.h"

#include "support/temporary_directory.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

namespace test_support {

double sound::level(double from, double to) const {
    const auto begin = std::min(left.size(), std::size_t(from * rate));
    const auto end = std::min(left.size(), std::size_t(to * rate));
    double sum = 0;
    for (std::size_t i = begin; i < end; ++i)
        sum += left[i] * left[i] + right[i] * right[i];
    return end > begin ? std::sqrt(sum / (2.0 * double(end - begin))) : 0;
}

double sound::pitch_near(double expected, double from, double to) const {
    const auto begin = std::min(left.size(), std::size_t(from * rate));
    const auto end = std::min(left.size(), std::size_t(to * rate));
    const double count = double(end - begin);
    double best = 0, best_strength = 0;
    for (double cents = -50; cents <= 50; cents += 0.25) {
        const double frequency = expected * std::exp2(cents / 1200);
        const auto step = std::polar(1.0, -2 * std::numbers::pi * frequency / rate);
        std::complex<double> phase = 1, sum = 0;
        for (std::size_t i = begin; i < end; ++i, phase *= step)
            sum += phase * left[i] * (1 - std::cos(2 * std::numbers::pi * double(i - begin) / count));
        if (std::abs(sum) <= best_strength) continue;
        best_strength = std::abs(sum);
        best = frequency;
    }
    return best;
}

sound read_wav(const std::string& name) {
    const std::string bytes = read_file(name);
    const auto field = [&](std::size_t at, std::size_t count) {
        std::size_t value = 0;
        for (std::size_t i = 0; i < count; ++i)
            value |= std::size_t(std::uint8_t(bytes[at + i])) << 8 * i;
        return value;
    };
    if (bytes.size() < 44 || !bytes.starts_with("RIFF") || bytes.compare(8, 8, "WAVEfmt ") != 0 ||
        bytes.compare(36, 4, "data") != 0)
        return {};
    sound result;
    result.rate = double(field(24, 4));
    // PCM, stereo, 16 bits.
    if (field(20, 2) != 1 || field(22, 2) != 2 || field(34, 2) != 16) return {};
    if (field(28, 4) != 4 * field(24, 4) || field(32, 2) != 4) return {};
    // What lies behind the stated end is not part of the sound.
    const std::size_t end = 44 + field(40, 4);
    if (end > field(4, 4) + 8 || field(4, 4) + 8 > bytes.size()) return {};
    for (std::size_t i = 44; i + 4 <= end; i += 4) {
        result.left.push_back(std::int16_t(field(i, 2)) / 32768.0);
        result.right.push_back(std::int16_t(field(i + 2, 2)) / 32768.0);
    }
    return result;
}

} // namespace test_support
