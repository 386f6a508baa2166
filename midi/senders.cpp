#include "midi/senders.h"

#include "midi/midi_out.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <vector>

namespace midi {

namespace {

constexpr int program_change = 0xC0, control_change = 0xB0, note_on = 0x90, pitch_bend = 0xE0;
constexpr int diagnostic_channel = 2, diagnostic_velocity = 127;

std::uint8_t byte(int value) {
    return static_cast<std::uint8_t>(value);
}

// A channel message of 2 or 3 bytes in the four that putbuf reads.
bool send(midi_port_t& port, int status, int channel, int data1, int data2 = 0, std::size_t length = 3) {
    const std::uint8_t message[4] = {byte(status | (channel & 15)), byte(data1), byte(data2), 0};
    return port.putbuf(message, length);
}

// Room for count bytes and those around them, at least the four that putbuf reads, all zero.
std::vector<std::uint8_t> message_buffer(std::size_t count, std::size_t around) {
    if (count > static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max()) - around)
        throw std::length_error("cannot create std::vector larger than max_size()");
    return std::vector<std::uint8_t>(std::max<std::size_t>(count + around, 4));
}

void say(const char* format, int note) {
    std::printf(format, note);
    std::fflush(stdout);
}

} // namespace

bool pgmchg(midi_port_t& port, int channel, int program) {
    return send(port, program_change, channel, program, 0, 2);
}

bool ctlchg(midi_port_t& port, int channel, int controller, int value) {
    return send(port, control_change, channel, controller, value);
}

bool reverbsend(midi_port_t& port, int channel, int value) {
    return ctlchg(port, channel, 91, value);
}

bool noteon(midi_port_t& port, int channel, int note, int velocity) {
    return send(port, note_on, channel, note, velocity);
}

bool noteoff(midi_port_t& port, int channel, int note) {
    return noteon(port, channel, note, 0);
}

bool allnotesoff(midi_port_t& port, int channel) {
    return ctlchg(port, channel, 0x7B, 0);
}

bool pitchbend(midi_port_t& port, int channel, int low, int high) {
    return send(port, pitch_bend, channel, low, high);
}

bool holdon(midi_port_t& port, int channel) {
    return ctlchg(port, channel, 0x40, 0x40);
}

bool holdoff(midi_port_t& port, int channel) {
    return ctlchg(port, channel, 0x40, 0);
}

bool bendrange(midi_port_t& port, int channel, int value) {
    std::uint8_t message[4] = {byte(control_change | (channel & 15)), 0x64, 0, byte(value)};
    for (const int parameter : {0, 0, 6}) {
        message[2] = byte(parameter);
        if (!port.putbuf(message, 3)) return false;
    }
    return true;
}

bool sysex(midi_port_t& port, const std::uint8_t* data, std::size_t count) {
    std::vector<std::uint8_t> message = message_buffer(count, 2);
    message[0] = 0xF0;
    std::copy_n(data, count, &message[1]);
    message[count + 1] = 0xF7;
    return port.putbuf(message.data(), count + 2);
}

bool rolandsysex(midi_port_t& port, int manufacturer, int device, int model, int command,
                 const std::uint8_t* payload, std::size_t count) {
    std::vector<std::uint8_t> message = message_buffer(count, 7);
    const std::uint8_t header[] = {0xF0, byte(manufacturer), byte(device), byte(model), byte(command)};
    const auto checksum =
        std::copy_n(payload, count, std::copy(std::begin(header), std::end(header), &message[0]));
    *checksum = -std::accumulate(payload, payload + count, 0u) & 0x7F;
    message[count + 6] = 0xF7;
    return port.putbuf(message.data(), count + 7);
}

bool bending(midi_port_t& port, int note) {
    static bool range_was_set = false;
    say("Note number = %3d, BENDING..Please wait!!\n", note);
    bool sent = true;
    if (!range_was_set) {
        range_was_set = true;
        sent = bendrange(port, diagnostic_channel, 7);
    }
    sent = sent && noteon(port, diagnostic_channel, note, diagnostic_velocity);
    for (int bend = 8192; sent && bend < 16384; ++bend)
        sent = pitchbend(port, diagnostic_channel, bend & 127, bend >> 7);
    say("Note number = %3d, END BENDING..Hit note key.\n", note);
    return sent;
}

bool holding(midi_port_t& port, int note) {
    say("Note Number = %3d, HOLDING..\n", note);
    return noteon(port, diagnostic_channel, note, diagnostic_velocity) && holdon(port, diagnostic_channel);
}

bool tchord(midi_port_t& port, int note) {
    say("sound number = %3d, T chord..\n", note);
    for (const int interval : {0, 4, 7, 12})
        if (!noteon(port, diagnostic_channel, note + interval, diagnostic_velocity)) return false;
    return true;
}

} // namespace midi
