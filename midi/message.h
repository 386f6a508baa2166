#pragma once
// The shape of MIDI messages as bytes.

#include <cstddef>
#include <cstdint>

namespace midi {

constexpr std::uint8_t sysex_begin = 0xF0, sysex_end = 0xF7, first_realtime = 0xF8;

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

// Calls take(bytes, length) for every complete message in a string of bytes, which may use running status.
// Bytes that belong to no message, and a system exclusive message broken off by another status, are left out.
template <class Take>
void each_message(const std::uint8_t* bytes, std::size_t length, Take take) {
    std::uint8_t message[3] = {};
    std::size_t expected = 0, have = 0; // of the message that is being collected
    for (std::size_t i = 0; i < length; ++i) {
        if (bytes[i] >= first_realtime) {
            take(bytes + i, std::size_t{1});
        } else if (bytes[i] == sysex_begin) {
            std::size_t end = i + 1;
            while (end < length && bytes[end] < 0x80)
                ++end;
            if (end < length && bytes[end] == sysex_end) take(bytes + i, end + 1 - i);
            expected = 0;
            i = end - (end < length && bytes[end] != sysex_end);
        } else if (bytes[i] >= 0x80) {
            message[0] = bytes[i];
            expected = message_length(bytes[i]);
            have = 1;
        } else if (expected) {
            message[have++] = bytes[i];
        }
        if (expected && have == expected) {
            take(static_cast<const std::uint8_t*>(message), expected);
            have = 1;
            if (message[0] >= 0xF0) expected = 0; // only channel messages have running status
        }
    }
}

} // namespace midi
