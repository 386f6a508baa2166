#include "app/synthesizer_controls.h"

#include "app/special_keys.h"
#include "app/trace.h"
#include "midi/midi_out.h"
#include "midi/senders.h"

#include <array>
#include <string_view>

namespace quenvarel {

namespace {

// A data set message: a three-byte address followed by what is to be written there.
template <std::size_t Count>
void data_set(midi::midi_out_t& out, const std::array<std::uint8_t, Count>& payload) {
    constexpr int manufacturer = 0x41, device = 0x10, model = 0x16, data_set_1 = 0x12;
    midi::rolandsysex(out, manufacturer, device, model, data_set_1, payload.data(), payload.size());
}

} // namespace

void synthesizer_controls::send_program() {
    midi::pgmchg(out_, sound_.channel, sound_.program);
}

void synthesizer_controls::special(int key, bool reversed) {
    const int step = reversed ? -1 : 1;
    switch (key) {
    case gems::key_f1:
        return change_reverb(reverb_.mode, step, 3);
    case gems::key_f2:
        return change_reverb(reverb_.time, step, 7);
    case gems::key_f3:
        return change_reverb(reverb_.level, step, 7);
    case gems::key_f4:
        return change_reverb_send(step);
    case gems::key_page_up:
        return change_notebase(12);
    case gems::key_page_down:
        return change_notebase(-12);
    case gems::key_home:
        return change_program(1);
    case gems::key_end:
        return change_program(-1);
    case gems::key_insert:
        return change_channel(1);
    default:
        trace().text("spkey: 0x").hex(static_cast<unsigned>(key));
    }
}

void synthesizer_controls::change_reverb(std::uint8_t& value, int step, int mask) {
    const auto changed = static_cast<std::uint8_t>((value + step) & mask);
    if (changed == value) return;
    value = changed;
    data_set<6>(out_, {0x10, 0x00, 0x01, reverb_.mode, reverb_.time, reverb_.level});
    trace().text("newrevb to ").dec(reverb_.mode).text(", ").dec(reverb_.time).text(", ").dec(reverb_.level);
}

void synthesizer_controls::change_reverb_send(int step) {
    const auto changed = static_cast<std::uint8_t>((reverb_.send + step) & 127);
    if (changed == reverb_.send) return;
    reverb_.send = changed;
    midi::reverbsend(out_, sound_.channel, reverb_.send);
    trace().text("cchg revb to 0x").hex(reverb_.send);
}

void synthesizer_controls::change_notebase(int step) {
    sound_.notebase = static_cast<std::uint8_t>((sound_.notebase + step) & 127);
    trace().text("notebase to ").dec(sound_.notebase);
}

void synthesizer_controls::change_program(int step) {
    const auto changed = static_cast<std::uint8_t>((sound_.program + step) & 127);
    if (changed == sound_.program) return;
    sound_.program = changed;
    send_program();
    trace().text("pgmchg to 0x").hex(sound_.program);
}

void synthesizer_controls::change_channel(int step) {
    sound_.channel = static_cast<std::uint8_t>((sound_.channel + step) & 15);
    trace().text("newch to ").dec(sound_.channel);
}

synthesizer_controls::greeting_t synthesizer_controls::greeting() {
    constexpr std::string_view text = "Quenvarel-MIDI Ver 2";
    greeting_t payload{0x20, 0x00, 0x00};
    static_assert(payload.size() == 3 + text.size());
    text.copy(reinterpret_cast<char*>(payload.data() + 3), text.size());
    return payload;
}

void synthesizer_controls::greet() {
    data_set(out_, greeting());
}

void synthesizer_controls::reset_display() {
    data_set<4>(out_, {0x20, 0x01, 0x00, 0x00});
}

} // namespace quenvarel
