#pragma once
// The shape of MIDI messages as bytes.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace midi {

constexpr std::uint8_t sysex_begin = 0xF0, sysex_end = 0xF7, first_realtime = 0xF8;
constexpr std::size_t longest_sysex = std::size_t{1} << 20;

// How many bytes a message with this status has, the status included; 0 where the length is not fixed
// (system exclusive), the status is not defined, or the byte is no status.
constexpr std::size_t message_length(std::uint8_t status) {
    if (status < 0x80) return 0;
    if (status < 0xF0) return (status & 0xE0) == 0xC0 ? 2 : 3;
    switch (status) {
    case 0xF1: // time code quarter frame
    case 0xF3: // song select
        return 2;
    case 0xF2: // song position
        return 3;
    case 0xF6: // tune request
        return 1;
    case sysex_begin:
    case 0xF4:
    case 0xF5:
    case sysex_end:
    case 0xF9:
    case 0xFD:
        return 0;
    default:
        return 1;
    }
}

// The bytes of a packed short message. The length is 0 when they are not one complete message.
struct short_bytes_t {
    std::uint8_t bytes[4];
    std::size_t length;
};

constexpr bool are_data(const std::uint8_t* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        if (bytes[i] >= 0x80) return false;
    return true;
}

constexpr short_bytes_t unpack(std::uint32_t message) {
    short_bytes_t result{{std::uint8_t(message), std::uint8_t(message >> 8), std::uint8_t(message >> 16),
                          std::uint8_t(message >> 24)},
                         0};
    std::size_t length = message_length(result.bytes[0]);
    if (result.bytes[0] == sysex_begin)
        for (std::size_t last = 1; last < 4 && !length; ++last)
            if (result.bytes[last] == sysex_end) length = last + 1;
    const std::size_t data_end = result.bytes[0] == sysex_begin ? length - 1 : length;
    if (length && are_data(result.bytes + 1, data_end - 1)) result.length = length;
    return result;
}

// Packs up to three bytes as a short message.
constexpr std::uint32_t pack(const std::uint8_t* bytes, std::size_t length) {
    std::uint32_t message = 0;
    for (std::size_t i = 0; i < length; ++i)
        message |= std::uint32_t{bytes[i]} << 8 * i;
    return message;
}

// Takes the messages out of bytes that come in pieces of any length, as from a cable. Running status is
// understood. Realtime bytes may stand anywhere, also inside another message, which stays whole.
class message_reader {
public:
    // Makes room for the longest message, so that reading allocates nothing.
    void reserve() { sysex_.reserve(longest_sysex); }

    // Calls take(bytes, length) for each message as soon as it is complete. Returns false when bytes were
    // left out: undefined ones, those of no message, and a system exclusive message that another status
    // breaks off or that is too long.
    template <class Take>
    bool read(const std::uint8_t* bytes, std::size_t length, Take take) {
        bool all = true;
        for (const std::uint8_t* const end = bytes + length; bytes != end; ++bytes) {
            if (*bytes < first_realtime)
                all = add(*bytes) && all;
            else if (message_length(*bytes))
                take(bytes, std::size_t{1});
            else
                all = false;
            if (!sysex_.empty() && sysex_.back() == sysex_end) {
                take(static_cast<const std::uint8_t*>(sysex_.data()), sysex_.size());
                sysex_.clear();
            } else if (expected_ && have_ == expected_) {
                take(static_cast<const std::uint8_t*>(message_), expected_);
                have_ = 1;
                if (message_[0] >= 0xF0) expected_ = 0; // only channel messages have running status
            }
        }
        return all;
    }

    // Drops an unfinished message. Returns false when it was a system exclusive one.
    bool forget() {
        expected_ = 0;
        const bool nothing = sysex_.empty();
        sysex_.clear();
        return nothing;
    }

private:
    // Anything but a realtime byte. False when something is left out.
    bool add(std::uint8_t byte) {
        if (!sysex_.empty() && (byte < 0x80 || byte == sysex_end)) {
            if (sysex_.size() == longest_sysex) return forget();
            sysex_.push_back(byte);
            return true;
        }
        if (byte < 0x80) {
            if (expected_) message_[have_++] = byte;
            return expected_ != 0;
        }
        const bool nothing_lost = forget();
        if (byte == sysex_begin) {
            sysex_.push_back(byte);
            return nothing_lost;
        }
        message_[0] = byte;
        have_ = 1;
        expected_ = message_length(byte);
        return nothing_lost && expected_ != 0;
    }

    std::vector<std::uint8_t> sysex_; // an unfinished one
    std::uint8_t message_[3] = {};
    std::size_t expected_ = 0, have_ = 0; // bytes of message_
};

// Calls take(bytes, length) for every complete message in a string of bytes.
template <class Take>
void each_message(const std::uint8_t* bytes, std::size_t length, Take take) {
    message_reader().read(bytes, length, take);
}

} // namespace midi
