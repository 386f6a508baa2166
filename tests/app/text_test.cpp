// What the window says: on the keys, on the line below them, in its title.

#include "app/announcer.h"
#include "app/keyboard_view.h"
#include "app/text/font.h"
#include "app/text/key_inscriptions.h"

#include <gtest/gtest.h>

using namespace quenvarel;
using namespace std::literals;

namespace {

std::u32string all_of(const inscription& key) {
    return key.octave + U"|" + key.main + U"|" + key.second;
}

TEST(key_inscriptions, say_what_is_typed_or_how_a_note_is_called) {
    const typed_key mine[] = {{24, U'é'}, {24, U'q'}, {25, U'ß'}};
    const struct {
        label_choice choice;
        int notebase, note;
        std::u32string says; // octave, main and second line
        std::span<const typed_key> typed = typed_characters();
    } cases[] = {
        {label_choice::typed, 36, 60, U"C4|q|/"},       {label_choice::typed, 36, 61, U"|2|:"},
        {label_choice::typed, 36, 44, U"|a|"},          {label_choice::typed, 36, 79, U"|[|"},
        {label_choice::typed, 36, 43, U"||"},           {label_choice::typed, 36, 80, U"||"},
        {label_choice::typed, 36, 0, U"C−1||"},         {label_choice::typed, 36, 120, U"C9||"},
        {label_choice::typed, 48, 60, U"C4|c|"},        {label_choice::typed, 120, 1, U"|z|"},
        {label_choice::typed, 36, 60, U"C4|q|é", mine}, {label_choice::typed, 36, 62, U"||", mine},
        {label_choice::notes, 36, 60, U"4|C|"},         {label_choice::notes, 36, 127, U"|G|"},
        {label_choice::notes, 36, 70, U"|♯|A"},         {label_choice::off, 36, 60, U"||"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(all_of(inscribe(c.choice, c.notebase, c.typed)[std::size_t(c.note)]), c.says)
            << c.notebase << ' ' << c.note;
    EXPECT_EQ(note_name(61), U"C♯4");
}

TEST(text, has_the_letters_of_every_layout_that_it_promises) {
    for (const char32_t letter : U"azéßüñøąöçğıőžșțάδωЖыієґאבתعشგⴰ€£°§´`^~¨ˇ♯·●−"s)
        EXPECT_EQ(find_letter(letter) != nullptr, letter != U'ⴰ') << unsigned(letter);
    EXPECT_EQ(letter_for(U'ⴰ').character, U'\uFFFD');
    EXPECT_LT(text_width(U"il"), text_width(U"mm"));
    EXPECT_EQ(from_utf8("a\u00e9\u266f\U0001d11e"), U"aé♯𝄞");
    // Overlong, a surrogate, cut off, beyond the last one, not begun.
    EXPECT_EQ(from_utf8("\xC0\xAF"
                        "b\xED\xA0\x80"
                        "c\xE2\x82"),
              U"\uFFFD\uFFFDb\uFFFD\uFFFD\uFFFDc\uFFFD\uFFFD");
    EXPECT_EQ(from_utf8("\xF4\x90\x80\x80"
                        "d\x80"),
              U"\uFFFD\uFFFD\uFFFD\uFFFDd\uFFFD");
}

// The words of a line, those that are new in brackets.
std::u32string read(state_line& line, state_line::clock::time_point when) {
    std::u32string all;
    for (const state_line::word& word : line.at(when))
        if (!word.text.empty()) all += (word.is_new ? U"[" : U"") + word.text + (word.is_new ? U"] " : U" ");
    return all;
}

TEST(state_line, says_what_is_set_and_for_two_seconds_what_is_new) {
    state_line line;
    const auto begin = state_line::clock::now();
    instrument_state state{.channel = 1, .velocity = 127};
    line.say(state, begin);
    line.say(state_line::device, U"MIDI file", begin);
    const std::u32string at_first =
        U"Acoustic Grand Piano channel 2 q = C4 velocity 127 reverb room, time 0, level 0 ";
    EXPECT_EQ(read(line, begin), at_first + U"MIDI file ");
    EXPECT_EQ(line.next_change(begin), std::nullopt) << "nothing wakes up";

    state = {.channel = 15,
             .program = 40,
             .velocity = 0,
             .reverb = {3, 1, 2, 7},
             .q_note = 37,
             .q = U'a',
             .holds = true};
    line.say(state, begin + 1s);
    EXPECT_EQ(line.next_change(begin + 1s), begin + 3s);
    const std::u32string later =
        U"Violin] [channel 16] [a = C♯2] [velocity 0: silent] [reverb hall, time 2, level 7, send 3] [hold";
    EXPECT_EQ(read(line, begin + 3s - 1ms), U"[" + later + U"] MIDI file ");
    state.velocity = 1;
    line.say(state, begin + 2500ms);
    read(line, begin + 3s);
    EXPECT_EQ(line.next_change(begin + 3s), begin + 4500ms);
    const std::u32string now = read(line, begin + 3s);
    EXPECT_NE(now.find(U"Violin channel 16 a = C♯2 [velocity 1] reverb"), now.npos);
    state = {.channel = 9, .program = 40, .velocity = 1, .holds = false};
    line.say(state, begin + 9s);
    EXPECT_EQ(read(line, begin + 9s).find(U"[Drums] "), 0u) << "the tenth channel";
    EXPECT_EQ(read(line, begin + 9s).find(U"hold"), std::u32string::npos);
    read(line, begin + 20s);
    EXPECT_EQ(line.next_change(begin + 20s), std::nullopt);

    line.record(begin + 20s);
    const auto recorded = [&](std::chrono::milliseconds time) {
        const std::u32string all = read(line, begin + 20s + time);
        return all.substr(all.find(U'●'), 7);
    };
    EXPECT_EQ(recorded(0ms), U"● 0:00 ");
    EXPECT_EQ(recorded(9999ms), U"● 0:09 ");
    EXPECT_EQ(recorded(60s), U"● 1:00 ");
    EXPECT_EQ(recorded(754s), U"● 12:34");
    EXPECT_EQ(line.next_change(begin + 24900ms), begin + 25s);
    EXPECT_EQ(line.next_change(begin + 25s), begin + 26s);
}

TEST(announcer, follows_the_programs_of_every_channel_and_wakes_up_only_for_news) {
    keyboard_view view; // in no window
    sound_t sound{1, 5, 36, 127};
    announcer says(view, sound);
    const auto begin = announcer::clock::now();
    const auto update = [&](std::chrono::milliseconds time) { return says.update({}, false, begin + time); };
    const auto title = [&] { return says.title("T"); };
    says.device("MIDI file", "", begin);
    EXPECT_EQ(title(), "T - Electric Piano 2");
    EXPECT_TRUE(update(0ms));
    EXPECT_FALSE(update(1s));
    EXPECT_FALSE(says.next_change());

    sound.channel = 2; // which has got no program yet
    EXPECT_TRUE(update(10s));
    EXPECT_EQ(title(), "T - Acoustic Grand Piano");
    says.program(1, 19); // from elsewhere
    sound.program = 6;   // ours, on this channel
    EXPECT_TRUE(update(11s));
    EXPECT_EQ(title(), "T - Harpsichord");
    sound.channel = 1;
    EXPECT_TRUE(update(12s));
    EXPECT_EQ(title(), "T - Church Organ");
    EXPECT_EQ(says.next_change(), begin + 14s);
    EXPECT_FALSE(update(13900ms));
    EXPECT_TRUE(update(14s)) << "something is no longer new";
    EXPECT_FALSE(says.next_change());

    sound.notebase = 48;
    EXPECT_TRUE(update(21s));
    EXPECT_TRUE(update(30s));
    const typed_key other[] = {{24, U'q'}, {25, U'é'}};
    says.typed(other);
    EXPECT_TRUE(update(31s)) << "the layout has changed";
    says.note_begins(begin + 40s);
    says.note_begins(begin + 40700ms);
    EXPECT_TRUE(update(41500ms));
    EXPECT_EQ(says.next_change(), begin + 42s) << "a second of the recording";

    says.choose({.labels = label_choice::off, .state = false});
    EXPECT_EQ(title(), "T");
    sound.velocity = 3;
    EXPECT_FALSE(update(50s));
    announcer unrecorded(view, sound);
    unrecorded.device("FluidSynth", "x", begin);
    unrecorded.update({}, false, begin);
    unrecorded.note_begins(begin);
    unrecorded.update({}, false, begin + 1s);
    EXPECT_FALSE(unrecorded.next_change());
}

} // namespace
