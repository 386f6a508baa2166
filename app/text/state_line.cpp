#include "app/text/state_line.h"

#include "app/text/font.h"
#include "app/text/instruments.h"
#include "app/text/key_inscriptions.h"

#include <algorithm>
#include <utility>

namespace quenvarel {

namespace {

constexpr std::chrono::seconds second{1};

std::u32string number(std::int64_t value) {
    return from_utf8(std::to_string(value));
}

std::u32string minutes(std::chrono::seconds time) {
    const std::u32string seconds = number(time.count() % 60);
    return U"● " + number(time.count() / 60) + (seconds.size() < 2 ? U":0" : U":") + seconds;
}

std::u32string to_text(const reverb_t& reverb) {
    constexpr std::u32string_view modes[] = {U"room", U"hall", U"plate", U"delay"};
    std::u32string text = U"reverb ";
    text.append(modes[reverb.mode & 3]);
    text += U", time " + number(reverb.time) + U", level " + number(reverb.level);
    if (reverb.send > 0) text += U", send " + number(reverb.send);
    return text;
}

} // namespace

void state_line::say(item which, std::u32string text, clock::time_point when) {
    if (words_[which].text == text) return;
    words_[which].text = std::move(text);
    if (std::exchange(said_[which], true)) news_of_[which] = when;
}

void state_line::say(const instrument_state& state, clock::time_point when) {
    say(instrument, from_utf8(instrument_name(state.channel, state.program)), when);
    say(channel, U"channel " + number(state.channel + 1), when);
    say(octave, std::u32string{state.q} + U" = " + note_name(state.q_note), when);
    say(velocity, state.velocity > 0 ? U"velocity " + number(state.velocity) : U"velocity 0: silent", when);
    say(state_line::reverb, to_text(state.reverb), when);
    say(hold, state.holds ? U"hold" : U"", when);
    said_[hold] = true;
}

state_line::words state_line::at(clock::time_point when) {
    if (recording_since_) {
        const auto time = std::max(when - *recording_since_, clock::duration{});
        words_[recording].text = minutes(std::chrono::floor<std::chrono::seconds>(time));
    }
    words said = words_;
    for (std::size_t i = 0; i < items; ++i) {
        if (news_of_[i] && when - *news_of_[i] >= news_last) news_of_[i].reset();
        said[i].is_new = news_of_[i].has_value();
    }
    return said;
}

std::optional<state_line::clock::time_point> state_line::next_change(clock::time_point after) const {
    std::optional<clock::time_point> next;
    const auto at = [&](clock::time_point when) { next = next ? std::min(*next, when) : when; };
    for (const auto& since : news_of_)
        if (since) at(*since + news_last);
    if (recording_since_) {
        const auto time = std::max(after - *recording_since_, clock::duration{});
        at(*recording_since_ + std::chrono::floor<std::chrono::seconds>(time) + second);
    }
    return next;
}

} // namespace quenvarel
