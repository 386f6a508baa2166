#pragma once
// From keys and mouse to notes: what sounds, who holds it, and how every note comes to its end.

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

// Sends on the given port, which must be open as long as the player is used; the results of sending are
// ignored. Nothing here allocates.
class note_player {
public:
    note_player(midi::midi_out_t& out, sound_t& sound, keyboard_picture& picture);

    // A character of the key map with the offset that it stands for. Each press starts its note, whatever
    // already sounds. A release ends the note that the offset means at that moment; while notes are held it
    // does nothing.
    void key_down(unsigned char key, int offset);
    void key_up(int offset);
    // From now on notes sound on after their keys are released.
    void hold(unsigned char key);
    // Ends all notes.
    void release_held();
    // One step, around from 127 to 0.
    void change_velocity(int step);

    // The mouse plays one note at a time. Given is the key under the pointer; where there is none, the note
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
