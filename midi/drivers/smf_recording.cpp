#include "midi/drivers/smf_recording.h"

#include "midi/message.h"

#include <cmath>
#include <limits>

namespace midi {

namespace {

constexpr std::uint8_t all_notes_off = 123;
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

} // namespace

bool smf_recording::create() {
    if (!file_.create("quenvarel", ".mid")) return false;
    bytes_.assign(std::begin(track_begin), std::end(track_begin));
    const bool made = file_.write(0, header, sizeof header) && append(0);
    if (!made) file_.remove();
    return made;
}

bool smf_recording::message(double time, const std::uint8_t* bytes, std::size_t length) {
    return advance(time) && end_notes(time, bytes) && event(time, bytes, length);
}

// Silence changes the file only where a delta time would grow too long to be written.
bool smf_recording::advance(double time) {
    while (ticks(time) - last_tick_ >= most_ticks / 2) {
        bytes_.clear();
        append_variable(bytes_, most_ticks / 2);
        last_tick_ += most_ticks / 2;
        bytes_.insert(bytes_.end(), {0xFF, 0x01, 0}); // an empty text
        if (!append(0)) return false;
    }
    return true;
}

// The end of the track is the end of the performance.
void smf_recording::finish(double time) {
    bytes_.clear();
    append(ticks(time) - last_tick_);
}

// Keeps count of the notes that sound. Most readers of files do not take "all notes off" for the end of
// notes, so a note-off for each goes before it.
bool smf_recording::end_notes(double time, const std::uint8_t* bytes) {
    const std::uint8_t channel = bytes[0] & 0x0F;
    const int kind = bytes[0] & 0xF0;
    if (kind == 0x90 && bytes[2] > 0)
        ++sounding_[channel][bytes[1]];
    else if ((kind == 0x80 || kind == 0x90) && sounding_[channel][bytes[1]] > 0)
        --sounding_[channel][bytes[1]];
    if (kind != 0xB0 || bytes[1] != all_notes_off) return true;
    for (std::uint8_t note = 0; note < 128; ++note)
        for (int& sounding = sounding_[channel][note]; sounding > 0; --sounding) {
            const std::uint8_t note_off[] = {std::uint8_t(0x90 | channel), note, 0};
            if (!event(time, note_off, sizeof note_off)) return false;
        }
    return true;
}

bool smf_recording::event(double time, const std::uint8_t* bytes, std::size_t length) {
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

std::uint64_t smf_recording::ticks(double time) const {
    const auto now = static_cast<std::uint64_t>(std::llround(time * ticks_per_second));
    return now > last_tick_ ? now : last_tick_;
}

// Writes bytes_ over the end of the track, and the end anew behind them.
bool smf_recording::append(std::uint64_t ticks_to_end) {
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
bool smf_recording::write_track() {
    const std::uint64_t length = track_length_ + bytes_.size();
    if (length > std::numeric_limits<std::uint32_t>::max()) return false;
    const std::uint8_t big_endian[4] = {std::uint8_t(length >> 24), std::uint8_t(length >> 16),
                                        std::uint8_t(length >> 8), std::uint8_t(length)};
    return file_.write(track_length_position, big_endian, sizeof big_endian) &&
           file_.write(track_position + track_length_, bytes_.data(), bytes_.size());
}

} // namespace midi
