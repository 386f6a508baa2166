#pragma once
// What the window says about the instrument: on the keys, on the line below them and in its title.

#include "app/announcement_options.h"
#include "app/sound.h"
#include "app/text/key_inscriptions.h"
#include "app/text/state_line.h"

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quenvarel {

class keyboard_view;

// Puts into words what it is told, and gives the words to a view when they change. Needs no context.
class announcer {
public:
    using clock = state_line::clock;

    announcer(keyboard_view& view, const sound_t& sound);

    void choose(const announcement_options& options) { options_ = options; }
    // The output device, and where it takes its sounds from, if that is known. Where it records, time begins
    // with the first note.
    void device(std::string_view name, std::string_view sound_set, clock::time_point now);
    // What the keys type that play, lower manual first.
    void typed(std::span<const typed_key> keys);

    // A program has been sent to the device, whoever sent it.
    void program(int channel, int program);
    void note_begins(clock::time_point now);

    // To be called after everything that may have changed a setting; `reverb` and `holds` are those of which
    // it is not told otherwise. True when there is something new to say. Allocates nothing.
    bool look(const reverb_t& reverb, bool holds, clock::time_point now);
    // Does the same and says it, to the view. True when there is something new to be drawn.
    bool update(const reverb_t& reverb, bool holds, clock::time_point now);
    // When it next has something new to say by itself.
    std::optional<clock::time_point> next_change() const { return next_change_; }

    // What a window with that title is to be called.
    std::string title(const std::string& plain) const;

private:
    char32_t key_of(int offset) const;
    instrument_state state_of(const reverb_t& reverb, bool holds) const;

    keyboard_view& view_;
    const sound_t& sound_;
    announcement_options options_;
    std::vector<typed_key> typed_;
    std::array<std::uint8_t, 16> programs_{}; // by channel
    std::uint8_t own_program_;                // when it was last looked at
    bool records_ = false, recording_ = false;
    int inscribed_for_ = -1; // note base
    state_line line_;
    state_line::words shown_;
    std::optional<clock::time_point> next_change_;
    instrument_state said_;
    bool line_is_current_ = false;
};

} // namespace quenvarel
