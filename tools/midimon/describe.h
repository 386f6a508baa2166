#pragma once
// Describes MIDI messages in words.

#include <cstddef>
#include <cstdint>
#include <string>

namespace midimon {

// Describes a message, for example "note on channel 1 note 60 velocity 127"; channels and programs count
// from 0. Bytes from the middle of a system exclusive message are described as the piece they are.
std::string describe(const std::uint8_t* bytes, std::size_t length);

// The time in seconds, the bytes in hex and what they mean: "3.142 91 3c 7f note on channel 1 ...".
std::string line(std::uint32_t milliseconds, const std::uint8_t* bytes, std::size_t length);

} // namespace midimon
