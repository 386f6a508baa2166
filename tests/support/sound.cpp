#include "support/sound.h"

#include "support/temporary_directory.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

namespace test_support {

namespace {

std::uint32_t little_endian(const std::string& bytes, std::size_t at, std::size_t count) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < count; ++i)
        value |= std::uint32_t(std::uint8_t(bytes[at + i])) << 8 * i;
    return value;
}

} // namespace

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
    if (bytes.size() < 44 || bytes.compare(0, 4, "RIFF") != 0 || bytes.compare(8, 8, "WAVEfmt ") != 0)
        return {};
    // What lies behind the stated end is not part of the sound.
    const std::size_t end = std::size_t{little_endian(bytes, 4, 4)} + 8;
    if (end > bytes.size()) return {};
    sound result;
    for (std::size_t at = 12; at + 8 <= end;) {
        const std::uint32_t length = little_endian(bytes, at + 4, 4);
        if (length > end - at - 8) return {};
        if (bytes.compare(at, 4, "fmt ") == 0) {
            const auto field = [&](std::size_t from, std::size_t count) {
                return little_endian(bytes, at + from, count);
            };
            result.rate = field(12, 4);
            // PCM, stereo, 16 bits.
            if (field(8, 2) != 1 || field(10, 2) != 2 || field(22, 2) != 16) return {};
            if (field(16, 4) != 4 * result.rate || field(20, 2) != 4) return {};
        } else if (bytes.compare(at, 4, "data") == 0) {
            for (std::size_t i = at + 8; i + 4 <= at + 8 + length; i += 4) {
                result.left.push_back(std::int16_t(little_endian(bytes, i, 2)) / 32768.0);
                result.right.push_back(std::int16_t(little_endian(bytes, i + 2, 2)) / 32768.0);
            }
        }
        at += 8 + length + (length & 1);
    }
    return result;
}

} // namespace test_support
