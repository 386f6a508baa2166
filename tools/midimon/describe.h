#pragma once
// MIDI messages in words.

#include <cstddef>
#include <cstdint>
#include <string>

namespace midimon {

// What a message means, for example "note on channel 1 note 60 velocity 127"; channels and programs count
// from 0. Bytes that begin or end in the midst of a system exclusive message are described as the piece that
// they are.
std::string describe(const std::uint8_t* bytes, std::size_t length);

// The time in seconds, the bytes in hex and what they mean: "3.142 91 3c 7f note on channel 1 ...".
std::string line(std::uint32_t milliseconds, const std::uint8_t* bytes, std::size_t length);

} // namespace midimon
