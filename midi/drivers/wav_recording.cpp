#include "midi/drivers/wav_recording.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <utility>

namespace midi {

namespace {

constexpr std::uint32_t header_bytes = 44, frame_bytes = 4;
constexpr std::uint64_t most_frames =
    (std::numeric_limits<std::uint32_t>::max() - header_bytes) / frame_bytes;
constexpr std::uint64_t frames_between_headers = wav_recording::sample_rate / 2;
constexpr std::uint64_t longest_tail = 6 * wav_recording::sample_rate;
constexpr std::uint64_t fading = wav_recording::sample_rate; // the last part of that tail

void store(std::uint8_t* at, std::uint32_t value) {
    for (int i = 0; i < 4; ++i)
        at[i] = static_cast<std::uint8_t>(value >> 8 * i);
}

} // namespace

bool wav_recording::create(std::unique_ptr<synthesizer> synth) {
    synth_ = std::move(synth);
    if (!file_.create("quenvarel", ".wav")) return false;
    const bool made = update_header();
    if (!made) file_.remove();
    return made;
}

bool wav_recording::update_header() {
    const auto data_bytes = static_cast<std::uint32_t>(frames_ * frame_bytes);
    std::uint8_t header[header_bytes] = {
        'R', 'I', 'F', 'F', 0,   0,   0,   0, 'W', 'A', 'V',
        'E', 'f', 'm', 't', ' ', 16,  0,   0, 0,   1,   0, // PCM
        2,   0,   0,   0,   0,   0,   0,   0, 0,   0,   frame_bytes,
        0,   16,  0,   'd', 'a', 't', 'a', 0, 0,   0,   0,
    };
    store(header + 4, header_bytes - 8 + data_bytes);
    store(header + 24, sample_rate);
    store(header + 28, sample_rate * frame_bytes);
    store(header + 40, data_bytes);
    frames_in_header_ = frames_;
    return file_.write(0, header, sizeof header);
}

bool wav_recording::render(int frames) {
    if (frames_ + frames > most_frames) return false;
    float channels[2][block];
    synth_->render(frames, channels[0], channels[1]);
    for (std::size_t i = 0; i < 2 * std::size_t(frames); ++i) {
        if (i % 2 == 0) volume_ = std::max(0.0f, volume_ - volume_step_);
        samples_[i] = static_cast<std::int16_t>(std::lround(volume_ * channels[i % 2][i / 2] * 32767));
    }
    if (!file_.write(header_bytes + frames_ * frame_bytes, samples_.data(), frames * frame_bytes))
        return false;
    frames_ += frames;
    return frames_ - frames_in_header_ < frames_between_headers || update_header();
}

bool wav_recording::advance(double time) {
    const auto until = static_cast<std::uint64_t>(std::llround(time * sample_rate));
    while (frames_ < until)
        if (!render(static_cast<int>(std::min<std::uint64_t>(until - frames_, block)))) return false;
    return true;
}

bool wav_recording::message(double time, const std::uint8_t* bytes, std::size_t length) {
    if (!advance(time)) return false;
    synth_->message(bytes, length);
    return true;
}

// The notes that still sound die away, faster than they would for a listener.
void wav_recording::finish(double time) {
    if (advance(time)) {
        synth_->release_all();
        // What sounds for longer than that ends without a click.
        const std::uint64_t end = frames_ + longest_tail;
        do {
            if (frames_ + fading >= end) volume_step_ = 1.0f / fading;
        } while (frames_ < end + block && render(block) && !last_block_is_silent(block));
    }
    update_header();
}

bool wav_recording::last_block_is_silent(int frames) const {
    return std::all_of(samples_.begin(), samples_.begin() + 2 * frames,
                       [](std::int16_t sample) { return std::abs(sample) <= 1; });
}

} // namespace midi
