#pragma once
// Messages on an output port. Channels are 0-based and masked to their low four bits; data bytes go out as
// they are, narrowed to 8 bits. Each returns what the port's putbuf returned.

#include <cstddef>
#include <cstdint>

namespace midi {

class midi_port_t;

bool pgmchg(midi_port_t& port, int channel, int program);
bool ctlchg(midi_port_t& port, int channel, int controller, int value);
// Controller 91: how much of the channel goes to the reverb.
bool reverbsend(midi_port_t& port, int channel, int value);
bool noteon(midi_port_t& port, int channel, int note, int velocity);
// A note-on with velocity 0, never the note-off status.
bool noteoff(midi_port_t& port, int channel, int note);
bool allnotesoff(midi_port_t& port, int channel);
// The bend is low + 128 * high, 8192 being the middle.
bool pitchbend(midi_port_t& port, int channel, int low, int high);
// The sustain pedal.
bool holdon(midi_port_t& port, int channel);
bool holdoff(midi_port_t& port, int channel);
// Selects the bend range parameter: controller 100 with 0, 0 and 6. The value itself is not sent.
bool bendrange(midi_port_t& port, int channel, int value);

// F0, the bytes, F7. Both throw std::length_error when the message would not fit into memory's range.
bool sysex(midi_port_t& port, const std::uint8_t* data, std::size_t count);
// F0, the four header bytes, the payload (an address and its data), a checksum that brings the payload's sum
// to a multiple of 128, F7.
bool rolandsysex(midi_port_t& port, int manufacturer, int device, int model, int command,
                 const std::uint8_t* payload, std::size_t count);

// Diagnostic sequences on channel 2 with velocity 127; what they do is one line or two on standard output.
// A note bent from the middle to the top; false at the first message that fails.
bool bending(midi_port_t& port, int note);
// A note under the sustain pedal.
bool holding(midi_port_t& port, int note);
// A major chord on the note.
bool tchord(midi_port_t& port, int note);

} // namespace midi
