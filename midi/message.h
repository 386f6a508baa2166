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

} // namespace midi
