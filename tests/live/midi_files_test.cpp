// The devices that write files: read back by midicsv, and measured.

#include "midi/drivers/smf_recording.h"
#include "midi/drivers/soundfont.h"
#include "midi/drivers/wav_recording.h"
#include "midi/midi_out.h"
#include "midi/senders.h"
#include "midi/system.h"
#include "support/capture.h"
#include "support/jack_server.h"
#include "support/pattern.h"
#include "support/sound.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <regex>

using namespace test_support;

namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using clock_type = std::chrono::steady_clock;
using bytes = std::vector<std::uint8_t>;

const std::string play_notes = QUENVAREL_BIN "/../tests/play_notes";

// The events of the file's track as midicsv writes them, which says nothing else about a sound file:
// "TICK, EVENT; ...".
std::string events(const std::string& name) {
    const process_result result = run({"midicsv", name});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.err, "");
    std::string text = result.out;
    const std::string begin = "0, 0, Header, 0, 1, 960\n1, 0, Start_track\n1, 0, Title_t, \"Quenvarel\"\n"
                              "1, 0, Tempo, 500000\n",
                      end = "0, 0, End_of_file\n";
    const bool is_whole = text.starts_with(begin) && text.ends_with(", End_track\n" + end);
    EXPECT_TRUE(is_whole) << text;
    if (!is_whole) return {};
    text = text.substr(begin.size(), text.size() - begin.size() - end.size());
    return std::regex_replace(text, std::regex("1, ([^\n]*)\n"), "$1; ");
}

std::size_t count_events(const std::string& name) {
    return std::size_t(std::ranges::count(events(name), ';'));
}

// Each test works in a directory of its own.
struct midi_files : testing::Test {
    midi_files() { fs::current_path(directory.path()); }
    ~midi_files() override { fs::current_path(before); }

    const no_jack_server quiet_machine;
    const fs::path before = fs::current_path();
    const temporary_directory directory;
    capture out{std::cout};
    midi::midi_out_t port{midi::system_outputs()};
};

TEST_F(midi_files, midi_file_holds_the_performance_in_real_time) {
    const std::uint8_t reset[] = {0x20, 1, 0, 0}, clock_byte[4] = {0xF8};
    const struct {
        int milliseconds; // since it was opened
        std::function<bool()> send;
        const char* event;
    } performance[] = {
        {100, [&] { return midi::pgmchg(port, 1, 5); }, "Program_c, 1, 5$"},
        {150, [&] { return midi::noteon(port, 1, 60, 127); }, "Note_on_c, 1, 60, 127$"},
        {500, [&] { return midi::noteoff(port, 1, 60); }, "Note_on_c, 1, 60, 0$"},
        {500, [&] { return midi::rolandsysex(port, 0x41, 0x10, 0x16, 0x12, reset, sizeof reset); },
         "System_exclusive, 10, 65, 16, 22, 18, 32, 1, 0, 0, 95, 247$"},
        {550, [&] { return port.putbuf(clock_byte, 1); }, "System_exclusive_packet, 1, 248$"},
        {900, [&] { return port.close(); }, "End_track$"},
    };
    const auto begin = clock_type::now();
    const auto now = [&] { return std::chrono::duration<double>(clock_type::now() - begin).count(); };
    ASSERT_TRUE(port.open("MIDI file"));
    std::vector<std::pair<double, double>> bounds = {{0, now()}}; // between which each was sent
    for (const auto& step : performance) {
        std::this_thread::sleep_until(begin + milliseconds(step.milliseconds));
        const double earliest = now();
        EXPECT_TRUE(step.send());
        bounds.emplace_back(earliest, now());
    }
    std::istringstream found(events("quenvarel.mid"));
    std::string event;
    double last = 0;
    for (std::size_t i = 0; i < std::size(performance) && std::getline(found >> std::ws, event, ';'); ++i) {
        EXPECT_TRUE(matches(event, std::string("^[0-9]+, ") + performance[i].event)) << event;
        const double time = std::stod(event) / 1920, tick = 1.0 / 1920;
        const bool runs = i > 1; // time begins with the first note
        EXPECT_GE(time - last, runs ? bounds[i + 1].first - bounds[i].second - tick : 0) << i;
        EXPECT_LE(time - last, runs ? bounds[i + 1].second - bounds[i].first + tick : 0) << i;
        last = time;
    }
    EXPECT_TRUE(event.ends_with("End_track") && (found >> std::ws).eof()) << event;
}

TEST_F(midi_files, midi_file_ends_its_notes_and_holds_any_silence) {
    midi::smf_recording recording;
    ASSERT_TRUE(recording.create());
    const std::pair<double, bytes> sent[] = {
        {0, {0x90, 60, 100}},    {0, {0x91, 60, 100}}, {0, {0x90, 62, 100}},  {0, {0x90, 62, 90}},
        {0.5, {0x80, 60, 64}},   {0.5, {0x90, 64, 1}}, {0.75, {0x90, 64, 0}}, {1, {0xB1, 122, 0}},
        {1, {0xB1, 123, 0}},     {1, {0xB0, 123, 0}},  {1, {0xB0, 123, 0}},   {1100, {0x90, 64, 1}},
        {201100, {0x90, 64, 0}},
    };
    for (const auto& [time, message] : sent)
        EXPECT_TRUE(recording.message(time, message.data(), message.size()));
    recording.finish(201101);
    // What is struck twice is ended twice; a silence of more than a file can say at once has empty texts.
    EXPECT_EQ(events("quenvarel.mid"),
              "0, Note_on_c, 0, 60, 100; 0, Note_on_c, 1, 60, 100; 0, Note_on_c, 0, 62, 100; 0, Note_on_c, "
              "0, 62, 90; 960, Note_off_c, 0, 60, 64; 960, Note_on_c, 0, 64, 1; 1440, Note_on_c, 0, 64, 0; "
              "1920, Control_c, 1, 122, 0; 1920, Note_on_c, 1, 60, 0; 1920, Control_c, 1, 123, 0; 1920, "
              "Note_on_c, 0, 62, 0; 1920, Note_on_c, 0, 62, 0; 1920, Control_c, 0, 123, 0; 1920, Control_c, "
              "0, 123, 0; 2112000, Note_on_c, 0, 64, 1; 136329727, Text_t, \"\"; 270547454, Text_t, \"\"; "
              "386112000, Note_on_c, 0, 64, 0; 386113920, End_track; ");
}

TEST_F(midi_files, files_are_only_made_for_messages_and_never_touched_again) {
    directory.write("quenvarel.mid", "keep me");
    fs::create_symlink(directory.path() / "nowhere", directory.path() / "quenvarel-1.mid");
    for (const char* name : {"MIDI file", "FluidSynth to WAV"})
        EXPECT_TRUE(port.open(name) && port.close()) << "without a message";
    ASSERT_TRUE(port.open("MIDI file"));
    fs::rename("quenvarel-2.mid", "mine.mid");
    directory.write("quenvarel-2.mid", "keep me, too");
    EXPECT_TRUE(port.close());
    EXPECT_EQ(read_file("quenvarel.mid") + read_file("quenvarel-2.mid"), "keep mekeep me, too");
    EXPECT_EQ(count_events("mine.mid"), 1u);
    EXPECT_TRUE(port.open("MIDI file") && midi::noteon(port, 0, 60, 1) && port.close());
    EXPECT_EQ(count_events("quenvarel-3.mid"), 2u);
    EXPECT_EQ(std::distance(fs::directory_iterator("."), {}), 5);
}

TEST_F(midi_files, a_file_that_cannot_be_made_is_one_line_and_leaves_none) {
    for (const std::string command :
         {"cd $(mktemp -d) && rmdir $PWD && exec \"$@\"", "trap '' XFSZ; ulimit -f 0; exec \"$@\""})
        for (const char* device : {"MIDI file", "to WAV"}) {
            const auto played = run({"sh", "-c", command, "", play_notes, device, "1", "0"});
            EXPECT_EQ(played.exit_code, 1);
            EXPECT_TRUE(matches(played.err, "(^|\n)DeviceID=[0-9]+: can't open MIDI device\\.\n$"))
                << played.err;
            EXPECT_TRUE(fs::is_empty("."));
        }
}

TEST_F(midi_files, files_are_whole_when_the_process_is_killed) {
    const struct {
        const char* device;
        std::function<bool()> has_written; // what must survive: the last note, a second of sound
    } cases[] = {
        {"MIDI file", [] { return read_file("quenvarel.mid").find("\x91\x3C\x64") != std::string::npos; }},
        {"to WAV", [] { return fs::file_size("quenvarel.wav") > 44 + 44100 * 4; }},
    };
    for (const auto& c : cases) {
        process player({play_notes, c.device, "100", "12"});
        ASSERT_TRUE(player.wait_for_out("played\n") && jack_server::until(c.has_written)) << c.device;
        player.send_signal(SIGKILL);
        EXPECT_EQ(player.wait(), 128 + SIGKILL);
    }
    EXPECT_EQ(count_events("quenvarel.mid"), 101u);
    EXPECT_TRUE(matches(events("quenvarel.mid"), "Note_on_c, 1, 60, 100; [^;]*End_track; $"));
    const sound heard = read_wav("quenvarel.wav");
    EXPECT_TRUE(heard.seconds() >= 0.5 && heard.level(0.2, 0.5) > 0.001) << heard.seconds();
}

TEST_F(midi_files, files_are_whole_when_the_disk_is_full) {
    run({"jack_lsp"}); // JACK's own files, cut short, would stop every client for 18 s
    for (const auto& [device, file] :
         {std::pair<std::string, std::string>{"MIDI file", "quenvarel.mid"}, {"to WAV", "quenvarel.wav"}}) {
        // 40 blocks of 512 bytes is all that a file may grow to; it is also the limit of shared memory, of
        // which PulseAudio's library complains when ALSA asks for it.
        const process_result played =
            run({"sh", "-c", "trap '' XFSZ; ulimit -f 40; exec \"$0\" \"$1\" 1000000 0", play_notes, device},
                {{{"ALSA_CONFIG_PATH", "/dev/null"}}, {}});
        EXPECT_EQ(played.exit_code, 2 + 4) << "sending and closing both say that it went wrong";
        EXPECT_EQ(played.err, file + ": the recording cannot go on and ends here.\n");
    }
    EXPECT_GE(count_events("quenvarel.mid"), 3000u);
    EXPECT_GT(read_wav("quenvarel.wav").seconds(), 0.05);
}

TEST_F(midi_files, wav_holds_the_performance_in_real_time) {
    ASSERT_TRUE(port.open("FluidSynth to WAV"));
    out.take();
    const std::uint8_t text[] = {0x20, 0, 0, 'H', 'e', 'l', 'l', 'o'};
    EXPECT_TRUE(midi::rolandsysex(port, 0x41, 0x10, 0x16, 0x12, text, sizeof text));
    std::this_thread::sleep_for(milliseconds(400));
    const auto before_note = clock_type::now();
    EXPECT_TRUE(midi::noteon(port, 1, 69, 127));
    std::this_thread::sleep_for(milliseconds(1200));
    EXPECT_TRUE(midi::noteoff(port, 1, 69));
    const double held = std::chrono::duration<double>(clock_type::now() - before_note).count();
    EXPECT_TRUE(port.close());
    EXPECT_EQ(out.text(), "Hello\nrecorded: quenvarel.wav\n");

    const sound heard = read_wav("quenvarel.wav");
    EXPECT_EQ(heard.rate, 44100);
    EXPECT_EQ(heard.level(0, 0.0005), 0) << "no click";
    EXPECT_GT(heard.level(0, 0.02), 0.001) << "no silence before the note";
    EXPECT_NEAR(heard.pitch_near(440, 0.2, 1.1), 440, 1.27) << "5 cents";
    EXPECT_GT(heard.level(held, held + 0.1), 0.001) << "the tail";
    EXPECT_LT(heard.level(heard.seconds() - 0.02, heard.seconds()), 0.0001) << "which dies away";
}

// Rendered without waiting, two seconds of it.
sound rendered(const std::vector<std::pair<double, bytes>>& messages) {
    fs::remove("quenvarel.wav");
    midi::wav_recording recording;
    auto synth = midi::synthesizer::make(midi::wav_recording::sample_rate);
    EXPECT_TRUE(synth && recording.create(std::move(synth)));
    for (const auto& [time, message] : messages)
        recording.message(time, message.data(), message.size());
    recording.finish(2);
    return read_wav("quenvarel.wav");
}

TEST_F(midi_files, loud_chords_do_not_clip_and_long_ones_end_softly) {
    for (const std::uint8_t program : {0, 9, 19, 48, 56}) {
        std::vector<std::pair<double, bytes>> chord = {{0, {0xC0, program}}, {0, {0xB0, 7, 127}}};
        for (int key = 48; key < 88; key += 4)
            chord.push_back({0, {0x90, std::uint8_t(key), 127}});
        const sound heard = rendered(chord);
        double peak = 0;
        for (const std::vector<double>* const channel : {&heard.left, &heard.right})
            for (const double sample : *channel)
                peak = std::max(peak, std::abs(sample));
        EXPECT_LT(peak, 0.99) << int(program);
        EXPECT_GT(peak, 0.5) << int(program);
        EXPECT_LT(heard.level(heard.seconds() - 0.02, heard.seconds()), 0.0001) << int(program);
    }
    // Of a piano, one note passes unchanged.
    auto synth = midi::synthesizer::make(48000), bare = midi::synthesizer::make(48000);
    constexpr int frames = 4800, odd = 37; // a sound system's period need not be FluidSynth's
    std::vector<float> sound[2][2];
    for (auto& channels : sound)
        for (auto& channel : channels)
            channel.resize(frames);
    for (midi::synthesizer* const each : {synth.get(), bare.get()})
        each->message(bytes{0x90, 81, 127}.data(), 3);
    for (int i = 0; i < frames; i += odd)
        synth->render(std::min(odd, frames - i), &sound[0][0][std::size_t(i)], &sound[0][1][std::size_t(i)]);
    fluid_synth_write_float(bare->synth(), frames, sound[1][0].data(), 0, 1, sound[1][1].data(), 0, 1);
    for (const int channel : {0, 1})
        EXPECT_EQ(sound[0][channel], sound[1][channel]);
}

TEST_F(midi_files, each_channel_message_is_heard_on_its_channel) {
    const auto with = [](bytes message, int channel) {
        message[0] = std::uint8_t(message[0] | channel);
        return rendered({{0, {0xC3, 16}}, {0.1, {0x93, 69, 100}}, {0.5, message}, {0.6, {0x93, 72, 100}}})
            .left;
    };
    const std::vector<double> without = with({0xB0, 7, 100}, 3);
    for (const bytes& message :
         {bytes{0x80, 69, 64}, {0x90, 69, 0}, {0xB0, 7, 30}, {0xC0, 5}, {0xD0, 127}, {0xE0, 127, 64}}) {
        EXPECT_NE(with(message, 3), without) << std::hex << int(message[0]);
        EXPECT_EQ(with(message, 4), without) << std::hex << int(message[0]);
    }
    EXPECT_EQ(with({0xE0, 0, 64}, 3), without) << "neither up nor down";
    EXPECT_NE(with({0x90, 45, 100}, 4), without);
    EXPECT_NE(with({0xFF}, 0), without);
}

// The sound after a short note with a reverb of this mode, time, level and send.
sound tail_of(const std::array<int, 4>& setting) {
    const auto [mode, time, level, send] = setting;
    bytes reverb = {0xF0, 0x41, 0x10, 0x16, 0x12, 0x10, 0, 1};
    for (const int value : {mode, time, level, -(0x10 + 1 + mode + time + level)})
        reverb.push_back(std::uint8_t(value & 0x7F));
    reverb.push_back(0xF7);
    return rendered(
        {{0, reverb}, {0, {0xB0, 91, std::uint8_t(send)}}, {0.1, {0x90, 72, 127}}, {0.3, {0x90, 72, 0}}});
}

TEST_F(midi_files, every_reverb_setting_is_heard) {
    const std::vector<std::array<int, 4>> each_louder[] = {
        {{0, 5, 3, 0}, {0, 5, 3, 20}, {0, 5, 3, 127}},
        {{0, 5, 0, 100}, {0, 5, 1, 100}, {0, 5, 4, 100}, {0, 5, 7, 100}},
        {{1, 0, 3, 100}, {1, 1, 3, 100}, {1, 4, 3, 100}, {1, 7, 3, 100}},
    };
    for (const auto& row : each_louder) {
        double quieter = 0;
        for (const auto& setting : row) {
            const double loud = tail_of(setting).level(0.8, 1.5);
            EXPECT_GT(loud, 1.08 * quieter) << testing::PrintToString(setting);
            quieter = loud;
        }
    }
    // The modes differ in how loud their tail is, or in how wide.
    std::vector<std::pair<double, double>> modes;
    for (int mode = 0; mode < 4; ++mode) {
        const sound heard = tail_of({mode, 0, 0, 80}); // where the player begins
        double middle = 0, side = 0;
        for (std::size_t i = std::size_t(0.5 * heard.rate); i < heard.left.size(); ++i) {
            middle += std::pow(heard.left[i] + heard.right[i], 2);
            side += std::pow(heard.left[i] - heard.right[i], 2);
        }
        const double loud = std::log(heard.level(0.5, 1)), wide = std::sqrt(side / middle);
        for (const auto& [other_loud, other_wide] : modes)
            EXPECT_TRUE(std::abs(other_loud - loud) > 0.23 || std::abs(other_wide - wide) > 0.15) << mode;
        modes.emplace_back(loud, wide);
    }
}

std::string chunk(const std::string& kind, const std::string& contents) {
    std::string size(4, 0);
    for (int i = 0; i < 4; ++i)
        size[i] = char(contents.size() >> 8 * i);
    return kind + size + contents + std::string(contents.size() % 2, 0);
}

// All that is asked of a SoundFont before it is played.
std::string soundfont(int version, int programs, std::size_t samples, int drum_bank = 128) {
    std::string presets;
    for (int i = 0; i <= programs + 1; ++i) {
        std::string preset(38, 0);
        preset[20] = char(i < programs ? i : 0);
        preset[22] = char(i < programs ? 0 : drum_bank);
        presets += preset;
    }
    return chunk("RIFF",
                 "sfbk" +
                     chunk("LIST", "INFO" + chunk("INAM", "odd") + chunk("ifil", {char(version), 0, 1, 0})) +
                     chunk("LIST", "sdta" + chunk("smpl", std::string(samples, 0))) +
                     chunk("LIST", "pdta" + chunk("phdr", presets)));
}

TEST_F(midi_files, large_general_midi_sets_come_before_small_ones) {
    const std::pair<const char*, std::string> best_first[] = {
        {"e.sf2", soundfont(2, 128, 17'000'000)},     {"d.sf2", soundfont(2, 128, 16'000'000)},
        {"c.sf3", soundfont(3, 128, 3'000'000)},      {"f.sf2", soundfont(2, 128, 15'000'000)},
        {"g.sf3", soundfont(3, 128, 1'000'000)},      {"b.sf2", soundfont(2, 127, 20'000'000)},
        {"a.sf2", soundfont(2, 128, 18'000'000, 64)},
    };
    const std::string whole = soundfont(2, 128, 20'000'000);
    for (const std::size_t damage : {0, 8, 12, 20, 60})
        directory.write("broken " + std::to_string(damage) + ".sf2",
                        whole.substr(0, damage) + 'x' + whole.substr(damage + 1));
    directory.write("cut.sf2", whole.substr(0, whole.size() - 1));
    directory.write("readme.txt", whole);
    fs::create_directory("other");
    fs::create_directory("other/x.sf2");
    fs::create_symlink("../a.sf2", "other/again.sf3");
    std::vector<fs::path> expected;
    for (const auto& [name, contents] : best_first) {
        directory.write(name, contents);
        expected.push_back(fs::canonical(name));
    }
    EXPECT_EQ(midi::ranked_soundfonts({"nowhere", ".", "other"}), expected);
}

TEST_F(midi_files, the_first_soundfont_that_works_is_played_and_named) {
    const fs::path installed = midi::soundfonts_to_try().back(), mine = fs::path("keys") / "mine.sf2";
    fs::create_directory("keys");
    directory.write("keys/broken.sf2", soundfont(2, 128, 10));
    std::ofstream("zeros.sf2");
    fs::resize_file("zeros.sf2", 2'000'000'000);
    fs::copy_file(installed, mine);
    midi::prefer_soundfont("zeros.sf2");
    midi::add_soundfont_directory("keys");
    capture err(std::cerr);
    ASSERT_TRUE(port.open("to WAV"));
    EXPECT_EQ(err.take(), "zeros.sf2: no SoundFont that can be played.\n"
                          "keys/broken.sf2: no SoundFont that can be played.\n");
    EXPECT_TRUE(out.take().ends_with("\nSoundFont: keys/mine.sf2\n"));
    EXPECT_EQ(midi::soundfont_name(), "mine");
    fs::remove(mine);
    EXPECT_TRUE(midi::noteon(port, 1, 69, 127));
    std::this_thread::sleep_for(milliseconds(100));
    EXPECT_TRUE(port.close());
    EXPECT_GT(read_wav("quenvarel.wav").level(0, 0.1), 0.001) << "although it has vanished";

    midi::prefer_soundfont(mine.string());
    midi::add_soundfont_directory("nowhere");
    ASSERT_TRUE(port.open("to WAV") && port.close());
    EXPECT_EQ(err.take(), "keys/mine.sf2: no SoundFont that can be played.\n");
    midi::prefer_soundfont("");
    EXPECT_EQ(midi::soundfonts_to_try().back(), installed);
}

} // namespace
