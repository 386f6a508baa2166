#pragma once
// The settings of the next note.

#include <cstdint>

namespace quenvarel {

struct sound_t {
    std::uint8_t channel;  // 0..15
    std::uint8_t program;  // 0..127
    std::uint8_t notebase; // 0..127, the note of offset 0 of the key map
    std::uint8_t velocity; // 0..127
};

// Of the sound module, 0 at the start.
struct reverb_t {
    std::uint8_t send;  // 0..127
    std::uint8_t mode;  // 0..3
    std::uint8_t time;  // 0..7
    std::uint8_t level; // 0..7
    friend bool operator==(const reverb_t&, const reverb_t&) = default;
};

} // namespace quenvarel
