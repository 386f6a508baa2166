#include "app/announcer.h"

#include "app/keyboard_view.h"
#include "app/text/font.h"
#include "app/text/instruments.h"

#include <algorithm>

namespace quenvarel {

namespace {

constexpr int upper_manual = 24; // offset of its first key
constexpr std::string_view recorders[] = {"FluidSynth to WAV", "MIDI file"};

} // namespace

announcer::announcer(keyboard_view& view, const sound_t& sound)
    : view_(view),
      sound_(sound),
      own_program_(sound.program) {
    programs_[sound.channel & 15u] = sound.program;
    typed(typed_characters());
}

void announcer::device(std::string_view name, std::string_view sound_set, clock::time_point now) {
    records_ = std::ranges::find(recorders, name) != std::end(recorders);
    line_.say(state_line::device, from_utf8(name), now);
    line_.say(state_line::sound_set, from_utf8(sound_set), now);
    line_is_current_ = false;
}

void announcer::typed(std::span<const typed_key> keys) {
    typed_.assign(keys.begin(), keys.end());
    inscribed_for_ = -1;
    line_is_current_ = false;
}

void announcer::program(int channel, int program) {
    programs_[std::size_t(channel & 15)] = static_cast<std::uint8_t>(program & 127);
    line_is_current_ = false;
}

void announcer::note_begins(clock::time_point now) {
    if (!records_ || recording_) return;
    recording_ = true;
    line_.record(now);
    line_is_current_ = false;
}

char32_t announcer::key_of(int offset) const {
    const auto found = std::find_if(typed_.rbegin(), typed_.rend(),
                                    [&](const typed_key& key) { return key.offset == offset; });
    return found != typed_.rend() ? found->character : U'q';
}

instrument_state announcer::state_of(const reverb_t& reverb, bool holds) const {
    return {
        .channel = sound_.channel,
        .program = programs_[sound_.channel & 15u],
        .velocity = sound_.velocity,
        .reverb = reverb,
        .q_note = (sound_.notebase + upper_manual) & 127,
        .q = key_of(upper_manual),
        .holds = holds,
    };
}

bool announcer::look(const reverb_t& reverb, bool holds, clock::time_point now) {
    if (sound_.program != own_program_) {
        own_program_ = sound_.program;
        program(sound_.channel, own_program_);
    }
    if (inscribed_for_ != sound_.notebase) return true;
    return options_.state &&
           (!line_is_current_ || (next_change_ && now >= *next_change_) || state_of(reverb, holds) != said_);
}

bool announcer::update(const reverb_t& reverb, bool holds, clock::time_point now) {
    if (!look(reverb, holds, now)) return false;
    bool has_news = false;
    if (inscribed_for_ != sound_.notebase) {
        inscribed_for_ = sound_.notebase;
        view_.inscribe(quenvarel::inscribe(options_.labels, sound_.notebase, typed_));
        has_news = true;
    }
    if (!options_.state) return has_news;
    line_is_current_ = true;
    said_ = state_of(reverb, holds);
    line_.say(said_, now);
    const state_line::words words = line_.at(now);
    next_change_ = line_.next_change(now);
    if (words == shown_) return has_news;
    shown_ = words;
    view_.say(words);
    return true;
}

std::string announcer::title(const std::string& plain) const {
    if (!options_.state) return plain;
    return plain + " - " + instrument_name(sound_.channel, programs_[sound_.channel & 15u]);
}

} // namespace quenvarel
