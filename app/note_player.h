#pragma once
// Turns keys and mouse into notes: what sounds, what holds it, and how every note ends.

#include "app/sound.h"

#include <array>
#include <bitset>
#include <cstdint>
#include <optional>

namespace midi {
class midi_out_t;
}

namespace quenvarel {

// The picture in which the keys move. Keys are numbered by their notes, 0..127.
class keyboard_picture {
public:
    virtual void press(int key) = 0;
    virtual void release(int key) = 0;
    virtual void release_all() = 0;
    // Asks for a new frame.
    virtual void redraw() = 0;

protected:
    ~keyboard_picture() = default;
};

// Sends on the given port, which must stay open while the player is used. Ignores the results of sending.
// Allocates nothing.
class note_player {
public:
    note_player(midi::midi_out_t& out, sound_t& sound, keyboard_picture& picture);

    // A key goes down, with its character and its offset in the key map. Each press starts its note, whatever
    // already sounds.
    void key_down(unsigned char key, int offset);
    // A key comes up. This ends the note that the offset means now, unless notes are sustained.
    void key_up(int offset);
    // Sustains notes after their keys are released.
    void hold(unsigned char key);
    // Ends all notes and the sustain.
    void release_held();
    bool holds() const { return keep_; }
    // One step, around from 127 to 0.
    void change_velocity(int step);

    // The mouse plays one note at a time, that of the key under the pointer. Where there is no key the note
    // stops.
    void mouse_down(std::optional<int> key);
    void mouse_moved(std::optional<int> key);
    void mouse_up(std::optional<int> key);
    // Its release will not be seen: as if it came now.
    void mouse_lost();
    bool mouse_held() const { return mouse_held_; }
    // The key that the mouse sounds.
    std::optional<int> mouse_note() const {
        return mouse_note_ < 0 ? std::nullopt : std::optional<int>(mouse_note_);
    }

    // Whether it sounds the note on the channel.
    bool sounds(int channel, int note) const;
    // Ends what still sounds, note by note.
    void silence();

private:
    struct note_entry {
        std::uint8_t note;
        std::uint8_t channel;  // of the last message
        std::uint8_t velocity; // of the last start
    };

    int note_of(int offset) const { return (sound_.notebase + offset) & 127; }
    void start(int note);
    void stop(int note);
    void mouse_note_on(int note);
    void mouse_note_off(int note);
    void stop_mouse_note();
    void play_under_pointer(std::optional<int> key);

    midi::midi_out_t& out_;
    sound_t& sound_;
    keyboard_picture& picture_;
    std::array<note_entry, 128> notes_;
    std::bitset<16 * 128> sounding_; // by channel, then note
    std::int8_t mouse_note_ = -1;
    bool mouse_held_ = false;
    bool keep_ = false;
};

} // namespace quenvarel
