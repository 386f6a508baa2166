#include "midi/drivers/smf.h"

#include "midi/drivers/output_file.h"
#include "midi/drivers/recorder.h"
#include "midi/message.h"

#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace midi {

namespace {

constexpr double ticks_per_second = 2 * 960;
constexpr std::uint64_t most_ticks = 0x0FFFFFFF; // what a delta time can say
constexpr std::uint64_t track_length_position = 18, track_position = 22;

constexpr std::uint8_t header[] = {
    'M', 'T', 'h', 'd', 0, 0, 0, 6, 0, 0, 0, 1, 960 >> 8, 960 & 0xFF, // format 0, one track
    'M', 'T', 'r', 'k', 0, 0, 0, 0,
};
constexpr std::uint8_t track_begin[] = {
    0, 0xFF, 0x03, 9, 'Q',  'u',  'e',  'n', 'v', 'a', 'r', 'e', 'l', // name
    0, 0xFF, 0x51, 3, 0x07, 0xA1, 0x20,                               // 500000 us to the quarter note
};
constexpr std::uint8_t end_of_track[] = {0xFF, 0x2F, 0};
static_assert(sizeof header == track_position);

// Appends a number in groups of seven bits, the highest first, all but the last marked.
void append_variable(std::vector<std::uint8_t>& bytes, std::uint64_t value) {
    int shift = 21;
    while (shift > 0 && !(value >> shift))
        shift -= 7;
    for (; shift >= 0; shift -= 7)
        bytes.push_back(static_cast<std::uint8_t>((value >> shift & 0x7F) | (shift ? 0x80 : 0)));
}

class smf_recording : public recording_t {
public:
    bool create() {
        if (!file_.create("quenvarel", ".mid") || !file_.write(0, header, sizeof header)) return false;
        bytes_.assign(std::begin(track_begin), std::end(track_begin));
        return append(0);
    }

    bool message(double time, const std::uint8_t* bytes, std::size_t length) override {
        // A file holds no realtime and no other system messages as such, but anything as an escape.
        const bool is_sysex = bytes[0] == sysex_begin, is_channel = bytes[0] < 0xF0;
        if (length > most_ticks) return true;
        const std::uint64_t tick = ticks(time);
        bytes_.clear();
        append_variable(bytes_, tick - last_tick_);
        last_tick_ = tick;
        if (is_sysex) {
            bytes_.push_back(sysex_begin);
            append_variable(bytes_, --length);
            ++bytes;
        } else if (!is_channel) {
            bytes_.push_back(sysex_end);
            append_variable(bytes_, length);
        }
        bytes_.insert(bytes_.end(), bytes, bytes + length);
        return append(0);
    }

    // Silence changes the file only where a delta time would grow too long to be written.
    bool advance(double time) override {
        if (ticks(time) - last_tick_ < most_ticks / 2) return true;
        bytes_.clear();
        append_variable(bytes_, most_ticks / 2);
        last_tick_ += most_ticks / 2;
        bytes_.insert(bytes_.end(), {0xFF, 0x01, 0}); // an empty text
        return append(0);
    }

    // The end of the track is the end of the performance.
    void finish(double time) override {
        bytes_.clear();
        append(ticks(time) - last_tick_);
    }

private:
    std::uint64_t ticks(double time) const {
        const auto now = static_cast<std::uint64_t>(std::llround(time * ticks_per_second));
        return now > last_tick_ ? now : last_tick_;
    }

    // Writes bytes_ over the end of the track, and the end anew behind them.
    bool append(std::uint64_t ticks_to_end) {
        const std::size_t added = bytes_.size();
        append_variable(bytes_, ticks_to_end);
        bytes_.insert(bytes_.end(), std::begin(end_of_track), std::end(end_of_track));
        if (!write_track()) {
            // Out of room: what was there before is whole again.
            bytes_.assign(1, 0);
            bytes_.insert(bytes_.end(), std::begin(end_of_track), std::end(end_of_track));
            write_track();
            return false;
        }
        track_length_ += added;
        return true;
    }

    // The length goes first: a file that is a little short then still has its old end where the reader gets
    // to.
    bool write_track() {
        const std::uint64_t length = track_length_ + bytes_.size();
        if (length > std::numeric_limits<std::uint32_t>::max()) return false;
        const std::uint8_t big_endian[4] = {std::uint8_t(length >> 24), std::uint8_t(length >> 16),
                                            std::uint8_t(length >> 8), std::uint8_t(length)};
        return file_.write(track_length_position, big_endian, sizeof big_endian) &&
               file_.write(track_position + track_length_, bytes_.data(), bytes_.size());
    }

    output_file file_;
    std::vector<std::uint8_t> bytes_; // of the event that is being added
    std::uint64_t track_length_ = 0;  // without the end of track
    std::uint64_t last_tick_ = 0;     // of the last event
};

} // namespace

result_t smf_outputs::device_name(std::uint32_t, std::string& name) {
    name = "MIDI file";
    return no_error;
}

result_t smf_outputs::open(std::uint32_t, std::unique_ptr<output_device_t>& opened) {
    auto recording = std::make_unique<smf_recording>();
    if (!recording->create()) return 1;
    opened = std::make_unique<recorder>(std::move(recording));
    return no_error;
}

} // namespace midi
