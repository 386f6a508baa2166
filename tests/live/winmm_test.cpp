// The Windows programs and the system's MIDI services: which calls they make, in which order and with which
// bytes.

#include "support/process.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <optional>
#include <regex>
#include <sstream>
#include <thread>

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using environment = std::map<std::string, std::string>;
using lines = std::vector<std::string>;
namespace fs = std::filesystem;

const std::string greeting =
    "f0 41 10 16 12 20 00 00 51 75 65 6e 76 61 72 65 6c 2d 4d 49 44 49 20 56 65 72 20 32 3e f7";
const std::string reset = "f0 41 10 16 12 20 01 00 00 5f f7";
const environment three_devices = {{"QUENVAREL_WINMM_OUTPUTS", "Mapper;Synth A;Synth B"}};

lines long_message(const std::string& bytes) {
    return {"midiOutPrepareHeader " + bytes + " -> 0", "midiOutLongMsg " + bytes + " -> 0",
            "midiOutUnprepareHeader -> 0"};
}

lines operator+(lines first, const lines& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// The C library writes text with the system's line ends; a newline alone or twice would be a fault.
std::string unix_text(const std::string& windows_text) {
    std::string text;
    for (std::size_t i = 0; i < windows_text.size(); ++i) {
        const bool end = windows_text.compare(i, 2, "\r\n") == 0;
        EXPECT_TRUE(end || windows_text[i] != '\n') << "in: " << windows_text;
        if (end) ++i;
        text += windows_text[i];
    }
    return text;
}

// A run of a program with the stand-in, which notes the calls in a file.
class run_with_devices {
public:
    run_with_devices(const std::string& program, const lines& arguments, environment variables)
        : log_(directory_.file("calls")) {
        variables["QUENVAREL_WINMM_LOG"] = "Z:" + log_;
        variables["QUENVAREL_WINMM_CONSOLE"] = "Z:" + directory_.file("console");
        const fs::path player = std::getenv("QUENVAREL_UNDER_TEST");
        program_.emplace(lines{player.parent_path() / program} + arguments,
                         test_support::process_options{std::move(variables), {}});
    }
    test_support::process& program() { return *program_; }
    lines calls() const {
        std::ifstream in(log_);
        lines all;
        for (std::string line; std::getline(in, line);)
            all.push_back(line);
        return all;
    }
    // Waits until the call has been made so many times.
    bool wait_for(const std::string& call, int times = 1) const {
        const auto end = std::chrono::steady_clock::now() + seconds(30);
        while (std::chrono::steady_clock::now() < end) {
            const lines all = calls();
            if (std::count(all.begin(), all.end(), call) >= times) return true;
            std::this_thread::sleep_for(milliseconds(20));
        }
        return false;
    }
    // Ends it by Ctrl-C; its exit code.
    int interrupt() {
        std::ofstream(directory_.file("console")) << "0\n";
        return program_->wait().value_or(-1);
    }

private:
    test_support::temporary_directory directory_;
    std::string log_;
    std::optional<test_support::process> program_;
};

class player : public run_with_devices {
public:
    player(const lines& arguments, environment variables = {})
        : run_with_devices("quenvarel", arguments, std::move(variables)) {}
    // The greeting is the last thing before the player plays.
    bool plays() const { return wait_for("midiOutLongMsg " + greeting + " -> 0"); }
};

const lines choosing_b = {"midiOutGetNumDevs -> 3", "midiOutGetDevCapsA 0 -> 0", "midiOutGetDevCapsA 1 -> 0",
                          "midiOutGetDevCapsA 2 -> 0"};
const std::string opening_b = "midiOutOpen 2 callback 0 instance 0 flags 0 -> ";
const std::string chosen_b = "select write device: 2: Synth B\n";

TEST(player_on_windows, says_why_it_ends_and_lists_the_devices) {
    const std::string list = "\noutput devices:\n0: Mapper\n1: Synth A\n2: Synth B\n";
    const struct {
        const char* failing; // calls
        lines arguments, calls;
        std::string out, err; // out after the usage line, where there is one
    } cases[] = {
        {"midiOutGetDevCapsA#2=6",
         {},
         {choosing_b[0], choosing_b[1], "midiOutGetDevCapsA 1 -> 6"},
         "usage\n\noutput devices:\n0: Mapper\n",
         "1: GetDevCaps() error.\n"},
        {"",
         {"synth"},
         choosing_b + choosing_b,
         list,
         "synth: device name not found.\nsynth: midiout open() failed.\n"},
        {"midiOutOpen=4",
         {"Synth B"},
         choosing_b + lines{opening_b + "4"} + choosing_b,
         chosen_b + list,
         "DeviceID=2: can't open MIDI device.\nSynth B: midiout open() failed.\n"},
    };
    for (const auto& c : cases) {
        environment variables = three_devices;
        variables["QUENVAREL_WINMM_FAIL"] = c.failing;
        player run(c.arguments, variables);
        EXPECT_EQ(run.program().wait(), c.arguments.empty() ? 0 : 1);
        // With a drive letter.
        static const std::regex usage(
            "^usage: .:.*\\.exe \\[-c ch\\] \\[-p pgm\\] \\[-n notebase\\] \\[-l vel\\] <device>\n");
        EXPECT_EQ(std::regex_replace(unix_text(run.program().out()), usage, "usage\n"), c.out);
        EXPECT_EQ(unix_text(run.program().err()), c.err);
        EXPECT_EQ(run.calls(), c.calls);
    }
}

TEST(player_on_windows, from_the_first_call_to_the_last) {
    for (const char* device : {"2", "Synth B"}) {
        player run({"-c", "3", "-p", "0x10", device}, three_devices);
        ASSERT_TRUE(run.plays()) << run.program().err();
        EXPECT_EQ(run.interrupt(), 0);
        const std::string notice =
            "This keyboard layout is not Japanese: some notes are elsewhere or need Shift. "
            "--keys=places plays by the places of the keys.\n";
        EXPECT_EQ(unix_text(run.program().out()), chosen_b + notice);
        EXPECT_EQ(unix_text(run.program().err()), "");
        const lines expected = choosing_b + lines{opening_b + "0", "midiOutShortMsg c3 10 00 00 -> 0"} +
                               long_message(greeting) + long_message(reset) + lines{"midiOutClose -> 0"};
        EXPECT_EQ(run.calls(), expected);
    }
}

// Calls of a device that answers "still playing" are repeated until it has let go of the message.
TEST(player_on_windows, a_message_is_kept_until_the_device_has_sent_it) {
    player run({"0"}, {{"QUENVAREL_WINMM_BUSY", "150"}});
    ASSERT_TRUE(run.wait_for("midiOutUnprepareHeader -> 0"));
    EXPECT_EQ(run.interrupt(), 0);
    lines calls = run.calls();
    EXPECT_GE(std::erase(calls, "midiOutUnprepareHeader -> 65"), 2u);
    const auto busy = [](const std::string& bytes) {
        lines all = long_message(bytes);
        all.insert(all.end() - 1, "released " + bytes + " intact");
        return all;
    };
    EXPECT_EQ(calls, (lines{"midiOutGetNumDevs -> 1", "midiOutGetDevCapsA 0 -> 0",
                            "midiOutOpen 0 callback 0 instance 0 flags 0 -> 0"} +
                      busy(greeting) + busy(reset) + lines{"midiOutClose -> 0"}));
}

// It never lets go of a message, or has been unplugged.
TEST(player_on_windows, a_device_that_does_nothing_any_more_does_not_stop_the_player) {
    const struct {
        environment variables;
        std::string last_messages, close;
    } cases[] = {{{{"QUENVAREL_WINMM_BUSY", "forever"}}, "0", "65"},
                 {{{"QUENVAREL_WINMM_FAIL", "midiOutShortMsg=6;midiOutPrepareHeader=6;midiOutLongMsg=6;"
                                            "midiOutUnprepareHeader=6;midiOutClose=6"}},
                  "6",
                  "6"}};
    for (const auto& c : cases) {
        player run({"-p", "1", "0"}, c.variables);
        ASSERT_TRUE(run.wait_for("midiOutLongMsg " + greeting + " -> " + c.last_messages));
        EXPECT_EQ(run.interrupt(), 0);
        EXPECT_EQ(unix_text(run.program().err()), "");
        const lines calls = run.calls();
        EXPECT_EQ(std::count(calls.begin(), calls.end(), "midiOutUnprepareHeader -> 0"), 0);
        EXPECT_EQ(
            std::count(calls.begin(), calls.end(), "midiOutLongMsg " + reset + " -> " + c.last_messages), 1);
        EXPECT_EQ(calls.back(), "midiOutClose -> " + c.close);
    }
}

// What it has sent since the greeting, in the stand-in's words.
std::string sent_on(const player& run) {
    std::string all;
    bool greeted = false;
    for (const std::string& call : run.calls()) {
        const bool is_long = call.starts_with("midiOutLongMsg ");
        if (greeted && (is_long || call.starts_with("midiOutShortMsg ")))
            all += call.substr(call.find(' ')) + ";";
        greeted = greeted || call.starts_with("midiOutLongMsg " + greeting);
    }
    return all;
}

TEST(player_on_windows, passes_on_what_an_input_delivers) {
    std::string long_word = "f0", long_bytes = " f0";
    for (int i = 0; i < 130; ++i) {
        long_word += "55";
        long_bytes += " 55";
    }
    player run({"--input=Keys", "0"}, {{"QUENVAREL_WINMM_INPUTS", "Pedal;Keys"},
                                       {"QUENVAREL_WINMM_INPUT",
                                        "wait:1500 913c7f more:b14001 f8 " + long_word + "f7 c105 913c00"}});
    ASSERT_TRUE(run.wait_for("midiOutShortMsg 91 3c 00 00 -> 0")) << run.program().err();
    EXPECT_EQ(run.interrupt(), 0);
    EXPECT_EQ(sent_on(run), " 91 3c 7f 00 -> 0; b1 40 01 00 -> 0; f8 00 00 00 -> 0;" + long_bytes +
                                " f7 -> 0; c1 05 00 00 -> 0; 91 3c 00 00 -> 0; " + reset + " -> 0;");
    EXPECT_NE(unix_text(run.program().out()).find("\nselect read device: 1: Keys\n"), std::string::npos);
    EXPECT_EQ(unix_text(run.program().err()), "");
    EXPECT_EQ(run.calls().back(), "midiOutClose -> 0");
}

TEST(player_on_windows, silences_an_input_that_is_unplugged_and_takes_it_again) {
    player run({"--input=0", "0"}, {{"QUENVAREL_WINMM_INPUT", "wait:1500 913c7f wait:300 unplug:2 913d7f"}});
    ASSERT_TRUE(run.program().wait_for_err("Stand-in Keys has gone.\r\n"));
    ASSERT_TRUE(run.program().wait_for_err("Stand-in Keys is back.\r\n"));
    ASSERT_TRUE(run.wait_for("midiOutShortMsg 91 3d 7f 00 -> 0", 2));
    EXPECT_EQ(run.interrupt(), 0);
    const std::string note = " 91 3c 7f 00 -> 0; 91 3d 7f 00 -> 0; 91 3c 00 00 -> 0; 91 3d 00 00 -> 0;";
    EXPECT_EQ(sent_on(run), note + note + " " + reset + " -> 0;");
}

TEST(player_on_windows, leaves_out_an_input_that_brings_back_its_greeting) {
    std::string echo;
    std::copy_if(greeting.begin(), greeting.end(), std::back_inserter(echo), [](char c) { return c != ' '; });
    player run({"--input=0", "0"}, {{"QUENVAREL_WINMM_INPUT", echo + " 913c7f"}});
    EXPECT_TRUE(run.program().wait_for_err(
        "Stand-in Keys: what this program sends comes back; the input is left out.\r\n"));
    EXPECT_TRUE(run.wait_for("midiInClose -> 0"));
    EXPECT_EQ(run.interrupt(), 0);
    EXPECT_EQ(sent_on(run), " " + reset + " -> 0;");
}

// The monitor's lines without the time in seconds that each begins with.
std::string without_times(const std::string& text) {
    static const std::regex line_begin("[0-9]+\\.[0-9]{3} (.*)");
    std::string all;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        std::smatch parts;
        all += (std::regex_match(line, parts, line_begin) ? parts[1].str() : "? " + line) + "\n";
    }
    return all;
}

TEST(monitor_on_windows, prints_what_a_device_delivers) {
    // 130 bytes take two buffers.
    std::string digits = "f0", first_bytes = "f0";
    for (int i = 0; i < 127; ++i) {
        digits += "55";
        first_bytes += " 55";
    }
    run_with_devices run(
        "midimon", {"Keys"},
        {{"QUENVAREL_WINMM_INPUTS", "Pedal;Keys"},
         {"QUENVAREL_WINMM_INPUT", "913c7f more:b14001 error:ff c105 " + digits + "55f7 f04110f7 e10040"}});
    ASSERT_TRUE(run.program().wait_for_out("e1 00 40"));
    EXPECT_EQ(run.interrupt(), 0);

    std::string out = unix_text(run.program().out());
    const std::string chosen = "select read device: 1: Keys\n";
    ASSERT_TRUE(out.starts_with(chosen)) << out;
    EXPECT_EQ(without_times(out.substr(chosen.size())),
              "91 3c 7f note on channel 1 note 60 velocity 127\n"
              "b1 40 01 control change channel 1 controller 64 value 1\n"
              "c1 05 program change channel 1 program 5\n" +
                  first_bytes + " system exclusive begins 128 bytes\n" +
                  "55 f7 system exclusive ends 2 bytes\n"
                  "f0 41 10 f7 system exclusive 4 bytes\n"
                  "e1 00 40 pitch bend channel 1 value 8192\n");
    EXPECT_EQ(unix_text(run.program().err()), "");
    const std::string queued = "midiInAddBuffer recorded 0 -> 0";
    EXPECT_EQ(
        run.calls(),
        (lines{"midiInGetNumDevs -> 2", "midiInGetDevCapsA 0 -> 0", "midiInGetDevCapsA 1 -> 0",
               "midiInOpen 1 flags 196640 -> 0", "midiInStart -> 0",
               "midiInPrepareHeader 128 recorded 0 flags 0 -> 0", queued,
               // Three buffers have come back full or ended.
               queued, queued, queued,
               // The one that the reset gives back is not queued again.
               "midiInStop -> 0", "midiInReset -> 0", "midiInUnprepareHeader -> 0", "midiInClose -> 0"}));
}

TEST(monitor_on_windows, closes_a_device_that_does_not_start) {
    run_with_devices run("midimon", {"0"}, {{"QUENVAREL_WINMM_FAIL", "midiInAddBuffer=7"}});
    EXPECT_EQ(run.program().wait(), 1);
    EXPECT_EQ(unix_text(run.program().err()), "7: can't prepare MIDI in.\n");
    EXPECT_EQ(run.calls().back(), "midiInClose -> 0");
}

TEST(monitor_on_windows, says_what_fails_at_the_end_and_goes_through_with_it) {
    run_with_devices run("midimon", {"0"},
                         {{"QUENVAREL_WINMM_FAIL", "midiInAddBuffer#2=9;midiInStop=5;midiInReset=6;"
                                                   "midiInUnprepareHeader=65;midiInClose=65"},
                          {"QUENVAREL_WINMM_INPUT", "f07ef7 903c40"}});
    ASSERT_TRUE(run.program().wait_for_out("90 3c 40"));
    EXPECT_EQ(run.interrupt(), 1);
    EXPECT_EQ(unix_text(run.program().err()),
              "9: can't prepare MIDI in.\n5: can't stop MIDI in.\n6: can't reset MIDI in.\n"
              "65: can't unprepare MIDI in.\n65: can't close MIDI in.\n");
}

} // namespace
