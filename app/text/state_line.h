#pragma once
// The line that says how the instrument is set. Knows what it says, and what of it is new; not how it is
// drawn.

#include "app/sound.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace quenvarel {

// What the line is about.
struct instrument_state {
    std::uint8_t channel = 0, program = 0, velocity = 0; // program: of that channel
    reverb_t reverb{};
    int q_note = 60;   // what the first key of the upper manual plays
    char32_t q = U'q'; // and what it types
    bool holds = false;
    friend bool operator==(const instrument_state&, const instrument_state&) = default;
};

class state_line {
public:
    using clock = std::chrono::steady_clock;
    static constexpr std::chrono::seconds news_last{2};

    // In the order in which they stand on the line.
    enum item : std::size_t {
        instrument,
        channel,
        octave,
        velocity,
        reverb,
        hold,
        recording,
        device,
        sound_set,
        items
    };

    // Sets what an item says; nothing: it is left out. What is said first is no news.
    void say(item which, std::u32string text, clock::time_point when);
    void say(const instrument_state& state, clock::time_point when);
    // A recording has begun.
    void record(clock::time_point since) { recording_since_ = since; }

    struct word {
        std::u32string text;
        bool is_new = false;
        friend bool operator==(const word&, const word&) = default;
    };
    using words = std::array<word, items>;
    // What the line says at that time, and when it next says something else by itself.
    words at(clock::time_point when);
    std::optional<clock::time_point> next_change(clock::time_point after) const;

private:
    words words_;
    std::array<std::optional<clock::time_point>, items> news_of_; // since when
    std::array<bool, items> said_{};
    std::optional<clock::time_point> recording_since_;
};

} // namespace quenvarel
