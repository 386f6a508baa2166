// The devices that write files: read back by midicsv, and measured.

#include "midi/drivers/synthesizer.h"
#include "midi/drivers/wav_recording.h"
#include "midi/midi_out.h"
#include "midi/senders.h"
#include "midi/system.h"
#include "support/jack_server.h"
#include "support/pattern.h"
#include "support/process.h"
#include "support/sound.h"
#include "support/temporary_directory.h"

#include <chrono>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <sstream>

namespace {

using std::chrono::milliseconds;
using clock_type = std::chrono::steady_clock;
using test_support::matches;
using test_support::read_file;
using test_support::read_wav;
using test_support::sound;

// Each test works in a directory of its own.
class midi_files : public testing::Test {
protected:
    void SetUp() override { std::filesystem::current_path(directory.path()); }
    void TearDown() override { std::filesystem::current_path(before); }

    static bool open_quietly(midi::midi_out_t& port, const char* name) {
        testing::internal::CaptureStdout();
        const bool opened = port.open(name);
        testing::internal::GetCapturedStdout();
        return opened;
    }

    // The lines of the file's track as midicsv writes them, which says nothing else about a sound file.
    static std::vector<std::string> midicsv(const std::string& name) {
        const test_support::process_result result = test_support::run({"midicsv", name});
        EXPECT_EQ(result.exit_code, 0);
        EXPECT_EQ(result.err, "");
        std::vector<std::string> lines;
        std::istringstream in(result.out);
        for (std::string line; std::getline(in, line);)
            lines.push_back(line);
        return lines;
    }

    const test_support::no_jack_server quiet_machine;
    const std::filesystem::path before = std::filesystem::current_path();
    const test_support::temporary_directory directory;
};

TEST_F(midi_files, midi_file_holds_the_performance_in_real_time) {
    midi::midi_out_t port(midi::system_outputs());
    const auto begin = clock_type::now();
    ASSERT_TRUE(open_quietly(port, "MIDI file"));
    std::vector<std::pair<clock_type::time_point, clock_type::time_point>> when;
    const auto at = [&](milliseconds time, const std::function<bool()>& send) {
        std::this_thread::sleep_until(begin + time);
        const auto earliest = clock_type::now();
        EXPECT_TRUE(send());
        when.emplace_back(earliest, clock_type::now());
    };
    const std::uint8_t reset[] = {0x20, 1, 0, 0};
    const std::uint8_t clock_byte[4] = {0xF8};
    at(milliseconds(100), [&] { return midi::pgmchg(port, 1, 5); });
    at(milliseconds(150), [&] { return midi::noteon(port, 1, 60, 127); });
    at(milliseconds(500), [&] { return midi::noteoff(port, 1, 60); });
    at(milliseconds(500),
       [&] { return midi::rolandsysex(port, 0x41, 0x10, 0x16, 0x12, reset, sizeof reset); });
    at(milliseconds(550), [&] { return port.putbuf(clock_byte, 1); });
    std::this_thread::sleep_until(begin + milliseconds(900));
    EXPECT_TRUE(port.close());

    const std::vector<std::string> lines = midicsv("quenvarel.mid");
    const char* expected[] = {
        "^0, 0, Header, 0, 1, 960$",
        "^1, 0, Start_track$",
        "^1, 0, Title_t, \"Quenvarel\"$",
        "^1, 0, Tempo, 500000$",
        "^1, [0-9]+, Program_c, 1, 5$",
        "^1, [0-9]+, Note_on_c, 1, 60, 127$",
        "^1, [0-9]+, Note_on_c, 1, 60, 0$",
        "^1, [0-9]+, System_exclusive, 10, 65, 16, 22, 18, 32, 1, 0, 0, 95, 247$",
        "^1, [0-9]+, System_exclusive_packet, 1, 248$",
        "^1, [0-9]+, End_track$",
        "^0, 0, End_of_file$",
    };
    ASSERT_EQ(lines.size(), std::size(expected));
    std::vector<double> seconds; // of each event of ours and of the end
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_TRUE(matches(lines[i], expected[i])) << lines[i];
        if (i >= 4 && i < 10) seconds.push_back(std::stod(lines[i].substr(3)) / 1920);
    }
    // The distance between two events lies between the shortest and the longest that their calls allow.
    constexpr double tick = 1.0 / 1920;
    for (std::size_t i = 1; i < when.size(); ++i) {
        const auto least = std::chrono::duration<double>(when[i].first - when[i - 1].second).count();
        const auto most = std::chrono::duration<double>(when[i].second - when[i - 1].first).count();
        EXPECT_GE(seconds[i] - seconds[i - 1], least - tick);
        EXPECT_LE(seconds[i] - seconds[i - 1], most + tick);
    }
    EXPECT_GE(seconds.back(), 0.89 - 0.2)
        << "the end is where the port was closed, 0.9 s after it was about to open";
}

TEST_F(midi_files, existing_files_are_never_touched) {
    directory.write("quenvarel.mid", "keep me");
    std::filesystem::create_symlink(directory.path() / "nowhere", directory.path() / "quenvarel-1.mid");
    midi::midi_out_t port(midi::system_outputs());
    ASSERT_TRUE(open_quietly(port, "MIDI file"));
    EXPECT_TRUE(port.close());
    EXPECT_EQ(read_file("quenvarel.mid"), "keep me");
    EXPECT_FALSE(std::filesystem::exists("nowhere"));
    EXPECT_EQ(midicsv("quenvarel-2.mid").size(), 6u);
}

TEST_F(midi_files, a_file_that_cannot_be_made_is_one_line) {
    std::filesystem::remove(directory.path());
    for (const char* name : {"MIDI file", "FluidSynth to WAV"}) {
        midi::midi_out_t port(midi::system_outputs());
        testing::internal::CaptureStderr();
        EXPECT_FALSE(open_quietly(port, name));
        const std::string err = testing::internal::GetCapturedStderr();
        EXPECT_TRUE(matches(err, "^DeviceID=[0-9]+: can't open MIDI device\\.\n$")) << err;
    }
    std::filesystem::create_directory(directory.path());
}

TEST_F(midi_files, files_are_whole_when_the_process_is_killed) {
    const struct {
        const char* device;
        std::function<bool()> has_written; // what must survive: the last note, a second of sound
    } cases[] = {
        {"MIDI file", [] { return read_file("quenvarel.mid").find("\x91\x3C\x64") != std::string::npos; }},
        {"to WAV", [] { return std::filesystem::file_size("quenvarel.wav") > 44 + 44100 * 4; }},
    };
    for (const auto& c : cases) {
        test_support::process player({QUENVAREL_BIN "/../tests/play_notes", c.device, "100", "12"});
        ASSERT_TRUE(player.wait_for_out("played\n"));
        ASSERT_TRUE(test_support::jack_server::until(c.has_written)) << c.device;
        player.send_signal(SIGKILL);
        EXPECT_EQ(player.wait(), 128 + SIGKILL);
    }
    const std::vector<std::string> lines = midicsv("quenvarel.mid");
    ASSERT_EQ(lines.size(), 6u + 100);
    EXPECT_NE(lines[lines.size() - 3].find("Note_on_c, 1, 60, 100"), std::string::npos);
    EXPECT_NE(lines[lines.size() - 2].find("End_track"), std::string::npos);
    const sound heard = read_wav("quenvarel.wav");
    EXPECT_GE(heard.seconds(), 0.5);
    EXPECT_GT(heard.level(0.2, 0.5), 0.001);
}

TEST_F(midi_files, files_are_whole_when_the_disk_is_full) {
    for (const std::string device : {"MIDI file", "to WAV"}) {
        // 40 blocks of 512 bytes is all that a file may grow to.
        const test_support::process_result played =
            test_support::run({"sh", "-c", "trap '' XFSZ; ulimit -f 40; exec \"$0\" \"$1\" 1000000 0",
                               QUENVAREL_BIN "/../tests/play_notes", device});
        EXPECT_EQ(played.exit_code, 2 + 4) << "sending and closing both say that it went wrong";
        EXPECT_EQ(played.err, "");
    }
    EXPECT_GE(midicsv("quenvarel.mid").size(), 3000u);
    EXPECT_GT(read_wav("quenvarel.wav").seconds(), 0.05);
}

TEST_F(midi_files, wav_holds_the_performance_in_real_time) {
    midi::midi_out_t port(midi::system_outputs());
    ASSERT_TRUE(open_quietly(port, "FluidSynth to WAV"));
    std::this_thread::sleep_for(milliseconds(400));
    const auto before_note = clock_type::now();
    EXPECT_TRUE(midi::noteon(port, 1, 69, 127));
    std::this_thread::sleep_for(milliseconds(1200));
    EXPECT_TRUE(midi::noteoff(port, 1, 69));
    const auto after_note = clock_type::now();
    EXPECT_TRUE(port.close());

    const sound heard = read_wav("quenvarel.wav");
    EXPECT_EQ(heard.rate, 44100);
    EXPECT_LT(heard.level(0, 0.39), 0.00005) << "silence before, but for the dither of the last bit";
    double onset = 0;
    while (onset < heard.seconds() && heard.level(onset, onset + 0.002) < 0.001)
        onset += 0.002;
    EXPECT_GE(onset, 0.39);
    EXPECT_NEAR(heard.pitch_near(440, onset + 0.2, onset + 1.1), 440, 1.27) << "5 cents";
    const double released = onset + std::chrono::duration<double>(after_note - before_note).count();
    EXPECT_GT(heard.level(released, released + 0.1), 0.001) << "the tail";
    EXPECT_LT(heard.level(heard.seconds() - 0.02, heard.seconds()), 0.0001) << "which dies away";
}

// The sound after a short note with the given reverb, rendered without waiting.
sound tail_of(int mode, int time, int level, int send) {
    const auto name = std::filesystem::path("quenvarel.wav");
    std::filesystem::remove(name);
    midi::wav_recording recording;
    auto synth = midi::synthesizer::make(midi::wav_recording::sample_rate);
    EXPECT_TRUE(synth && recording.create(std::move(synth)));
    const auto byte = [](int value) { return std::uint8_t(value & 0x7F); };
    std::uint8_t reverb[] = {0xF0, 0x41,       0x10,       0x16,        0x12, 0x10, 0,
                             1,    byte(mode), byte(time), byte(level), 0,    0xF7};
    reverb[11] = byte(-(0x10 + 1 + mode + time + level));
    const std::uint8_t controller[] = {0xB0, 91, byte(send)}, on[] = {0x90, 72, 127}, off[] = {0x90, 72, 0};
    recording.message(0, reverb, sizeof reverb);
    recording.message(0, controller, 3);
    recording.message(0.1, on, 3);
    recording.message(0.3, off, 3);
    recording.advance(2);
    recording.finish(2);
    return read_wav(name.string());
}

double decibels(double ratio) {
    return 20 * std::log10(ratio);
}

TEST_F(midi_files, every_reverb_setting_is_heard) {
    const auto tail = [](int mode, int time, int level, int send) {
        return tail_of(mode, time, level, send).level(0.8, 1.5);
    };
    EXPECT_GT(decibels(tail(0, 5, 7, 100) / tail(0, 5, 0, 100)), 9) << "level";
    EXPECT_GT(decibels(tail(0, 7, 3, 100) / tail(0, 0, 3, 100)), 9) << "time";
    EXPECT_GT(decibels(tail(0, 5, 3, 127) / tail(0, 5, 3, 20)), 6) << "send";
    double quieter = tail(0, 5, 0, 100), shorter = tail(1, 0, 3, 100);
    for (int step = 1; step < 8; ++step) {
        const double louder = tail(0, 5, step, 100), longer = tail(1, step, 3, 100);
        EXPECT_GT(decibels(louder / quieter), 0.7) << "level " << step;
        EXPECT_GT(decibels(longer / shorter), 0.7) << "time " << step;
        quieter = louder;
        shorter = longer;
    }
    // The modes differ in how loud their tail is, or in how wide.
    std::vector<std::pair<double, double>> modes;
    for (int mode = 0; mode < 4; ++mode) {
        const sound heard = tail_of(mode, 0, 0, 80); // where the player begins
        double middle = 0, side = 0;
        for (std::size_t i = std::size_t(0.5 * heard.rate); i < heard.left.size(); ++i) {
            middle += std::pow(heard.left[i] + heard.right[i], 2);
            side += std::pow(heard.left[i] - heard.right[i], 2);
        }
        modes.emplace_back(decibels(heard.level(0.5, 1)), std::sqrt(side / middle));
        for (int other = 0; other < mode; ++other)
            EXPECT_TRUE(std::abs(modes[other].first - modes[mode].first) > 2 ||
                        std::abs(modes[other].second - modes[mode].second) > 0.15)
                << other << " and " << mode;
    }
}

} // namespace
