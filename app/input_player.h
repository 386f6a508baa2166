#pragma once
// Plays what other keyboards and programs send: messages pass from any number of inputs to the output, and
// the keys of their notes move in the picture.

#include "midi/queued_input.h"

#include <array>
#include <bitset>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <vector>

namespace midi {
class midi_out_t;
}

namespace quenvarel {

// Who wants to know about what arrives.
class input_listener {
public:
    // The first input presses a key, or the last one releases it. Keys are numbered by their notes.
    virtual void input_pressed(int key) = 0;
    virtual void input_released(int key) = 0;
    // After any number of these.
    virtual void input_moved() = 0;
    // A program has been selected on a channel; both count from 0.
    virtual void input_program(int channel, int program) = 0;
    // Whether somebody else sounds the note, so that it is not for an input to end it.
    virtual bool sounds_elsewhere(int channel, int note) const = 0;

protected:
    ~input_listener() = default;
};

// Messages go out whole, unchanged and in the order of their input. Where some have been lost, and when the
// device goes, the notes and pedals that the input has left down are released. Nothing is handled before
// there is a listener; until then it waits in the inputs.
class input_player {
public:
    // The output must stay open until leave(). wake: see midi::queued_input.
    input_player(midi::midi_out_t& out, midi::input_service_t& service, void (*wake)());

    // Opens the input that a number or a part of a name means; one that is open already counts as opened. A
    // failure is one line on standard error.
    bool open(const char* device);
    bool empty() const { return inputs_.empty(); }
    void tell(input_listener* listener) { listener_ = listener; }

    // Handles what has arrived, for a few milliseconds at most. True when there is more. To be called when it
    // wakes its owner, and about once a second besides.
    bool handle();
    // Whether an input holds this key down.
    bool holds(int key) const { return holders_[static_cast<std::size_t>(key) & 127] > 0; }

    // Whatever brings back these bytes, which have just been sent, within half a second from the next
    // handle() hears our output: everything would go round and round. Such an input is closed, with one line.
    void expect_no_echo_of(std::vector<std::uint8_t> bytes);

    // Releases everything and closes the inputs.
    void leave();

private:
    using clock = std::chrono::steady_clock;
    static constexpr int channels = 16, notes = 128;
    static constexpr std::uint8_t pedals[] = {64, 66, 69}; // that hold notes

    struct input {
        input(midi::input_service_t& service, void (*wake)()) : port(service, wake) {}

        midi::queued_input port;
        std::bitset<channels * notes> down{};
        std::array<std::bitset<channels>, std::size(pedals)> pedal_down{};
        std::vector<std::uint8_t> sysex{}; // what has come of one
        bool hears_us = false;
    };

    bool handle(input& from, int most);
    void pass_on(input& from, const midi::queued_message& message);
    void collect(input& from, const midi::queued_message& message);
    void keep_track(input& from, const std::uint8_t* bytes);
    void set_note(input& from, int channel, int note, bool down);
    void release(input& from, int channel);
    void release_pedal(input& from, std::size_t pedal, int channel);
    void end_all(input& from);
    void send(const std::uint8_t* bytes, std::size_t length);

    midi::midi_out_t& out_;
    midi::input_service_t& service_;
    void (*const wake_)();
    input_listener* listener_ = nullptr;
    std::list<input> inputs_;
    std::array<std::uint16_t, notes> holders_{}; // of each key: inputs and channels that hold it
    bool moved_ = false;
    clock::time_point looked_{};
    std::vector<std::uint8_t> echo_;
    clock::time_point echo_until_{};
};

} // namespace quenvarel
