#include "app/note_player.h"

#include "app/trace.h"
#include "midi/midi_out.h"
#include "midi/senders.h"

namespace quenvarel {

namespace {

std::size_t sounding_index(int channel, int note) {
    return static_cast<std::size_t>(channel) * 128 + static_cast<std::size_t>(note);
}

} // namespace

note_player::note_player(midi::midi_out_t& out, sound_t& sound, keyboard_picture& picture)
    : out_(out),
      sound_(sound),
      picture_(picture) {
    for (std::size_t key = 0; key < notes_.size(); ++key)
        notes_[key] = {static_cast<std::uint8_t>(key), 0, 0};
}

void note_player::start(int note) {
    note_entry& entry = notes_[static_cast<std::size_t>(note)];
    entry.velocity = sound_.velocity;
    entry.channel = sound_.channel;
    // Velocity 0 would end the note.
    sounding_.set(sounding_index(entry.channel, note), entry.velocity != 0);
    midi::noteon(out_, entry.channel, entry.note, entry.velocity);
}

void note_player::stop(int note) {
    note_entry& entry = notes_[static_cast<std::size_t>(note)];
    entry.channel = sound_.channel;
    sounding_.reset(sounding_index(entry.channel, note));
    midi::noteoff(out_, entry.channel, entry.note);
}

void note_player::key_down(unsigned char key, int offset) {
    const int note = note_of(offset);
    start(note);
    trace().text("key: 0x").hex(key).text(", '").byte(key).text("', note: ").dec(unsigned(note));
    picture_.press(note);
    picture_.redraw();
}

void note_player::key_up(int offset) {
    if (keep_) return;
    const int note = note_of(offset);
    stop(note);
    picture_.release(note);
    picture_.redraw();
}

void note_player::hold(unsigned char key) {
    keep_ = true;
    trace().text("keep: 0x").hex(key).text(", '").byte(key).text("'");
}

void note_player::release_held() {
    midi::allnotesoff(out_, sound_.channel);
    for (int note = 0; note < 128; ++note)
        sounding_.reset(sounding_index(sound_.channel, note));
    // Notes begun on another channel, which that message does not reach.
    silence();
    trace().text("alloff");
    picture_.release_all();
    keep_ = false;
    picture_.redraw();
}

void note_player::change_velocity(int step) {
    sound_.velocity = static_cast<std::uint8_t>((sound_.velocity + step) & 127);
    trace().text("vel: 0x").hex(sound_.velocity);
}

void note_player::mouse_down(std::optional<int> key) {
    mouse_held_ = true;
    play_under_pointer(key);
}

void note_player::mouse_moved(std::optional<int> key) {
    if (mouse_held_) play_under_pointer(key);
}

void note_player::mouse_up(std::optional<int> key) {
    mouse_held_ = false;
    // The pointer may have jumped: what it started ends, whichever key it is over now.
    if (!key || *key != mouse_note_) stop_mouse_note();
    if (key) mouse_note_off(*key);
}

void note_player::mouse_lost() {
    mouse_held_ = false;
    stop_mouse_note();
}

void note_player::play_under_pointer(std::optional<int> key) {
    if (key)
        mouse_note_on(*key);
    else
        stop_mouse_note();
}

void note_player::mouse_note_on(int note) {
    if (note < 0 || note == mouse_note_) return;
    if (mouse_note_ >= 0) {
        stop(mouse_note_);
        picture_.release(mouse_note_);
    }
    mouse_note_ = static_cast<std::int8_t>(note);
    start(note);
    picture_.press(note);
    picture_.redraw();
    trace().text("note: ").dec(unsigned(note));
}

void note_player::mouse_note_off(int note) {
    if (note < 0) return;
    mouse_note_ = -1;
    stop(note);
    picture_.release(note);
    picture_.redraw();
}

void note_player::stop_mouse_note() {
    mouse_note_off(mouse_note_);
}

bool note_player::sounds(int channel, int note) const {
    return sounding_[sounding_index(channel, note)];
}

void note_player::silence() {
    for (std::size_t at = 0; sounding_.any() && at < sounding_.size(); ++at) {
        if (!sounding_[at]) continue;
        sounding_.reset(at);
        midi::noteoff(out_, static_cast<int>(at / 128), static_cast<int>(at % 128));
    }
}

} // namespace quenvarel
