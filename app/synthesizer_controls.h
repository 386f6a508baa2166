#pragma once
// The special keys: reverb, octave, program and channel, and the texts on the module's display.

#include "app/sound.h"

#include <array>
#include <cstdint>

namespace midi {
class midi_out_t;
}

namespace quenvarel {

// Speaks to an MT-32-class module in Roland DT1 messages. Sends on the given port; results are ignored, and
// nothing is read back from the module.
class synthesizer_controls {
public:
    synthesizer_controls(midi::midi_out_t& out, sound_t& sound) : out_(out), sound_(sound) {}

    void send_program();
    // A key without a character goes down, by its code; reversed turns the direction of F1 to F4.
    void special(int key, bool reversed);
    // To the next channel, around from 15 to 0, or back.
    void change_channel(int step);
    // The program's name on the module's display, which it fills: an address and the text, inside of the
    // message.
    using greeting_t = std::array<std::uint8_t, 3 + 20>;
    static greeting_t greeting();
    // Writes it there.
    void greet();
    // Gives the display back to the module.
    void reset_display();

    const reverb_t& reverb() const { return reverb_; }

private:
    void change_reverb(std::uint8_t& value, int step, int mask);
    void change_reverb_send(int step);
    void change_notebase(int step);
    void change_program(int step);

    midi::midi_out_t& out_;
    sound_t& sound_;
    reverb_t reverb_{};
};

} // namespace quenvarel
