// The Windows programs and the system's MIDI services: which calls they make, in which order and with which
// bytes.

#include "support/process.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
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

struct ended_run {
    const char* name;
    lines arguments;
    environment variables;
    int exit_code;
    std::string out; // after the usage line, where there is one
    std::string err;
    lines calls;
};

class player_that_ends : public testing::TestWithParam<ended_run> {};

TEST_P(player_that_ends, says_why_and_lists_the_devices) {
    const ended_run& expected = GetParam();
    player run(expected.arguments, expected.variables);
    EXPECT_EQ(run.program().wait(), expected.exit_code);
    std::string out = unix_text(run.program().out());
    if (out.starts_with("usage: ")) {
        const std::string options = ".exe [-c ch] [-p pgm] [-n notebase] [-l vel] <device>\n";
        const std::size_t end = out.find('\n') + 1;
        EXPECT_TRUE(out.substr(0, end).ends_with(options)) << out;
        EXPECT_EQ(out[std::string("usage: ").size() + 1], ':') << "a path with a drive letter: " << out;
        out = "usage\n" + out.substr(end);
    }
    EXPECT_EQ(out, expected.out);
    EXPECT_EQ(unix_text(run.program().err()), expected.err);
    EXPECT_EQ(run.calls(), expected.calls);
}

const std::string list_of_three = "\noutput devices:\n0: Mapper\n1: Synth A\n2: Synth B\n";
const lines listing_three = {"midiOutGetNumDevs -> 3", "midiOutGetDevCapsA 0 -> 0",
                             "midiOutGetDevCapsA 1 -> 0", "midiOutGetDevCapsA 2 -> 0"};

environment with(environment variables, const std::string& name, const std::string& value) {
    variables[name] = value;
    return variables;
}

INSTANTIATE_TEST_SUITE_P(
    , player_that_ends,
    testing::Values(
        ended_run{"no_argument", {}, three_devices, 0, "usage\n" + list_of_three, "", listing_three},
        ended_run{"no_device_installed",
                  {},
                  {{"QUENVAREL_WINMM_OUTPUTS", ""}},
                  0,
                  "usage\n\noutput devices:\n",
                  "",
                  {"midiOutGetNumDevs -> 0"}},
        ended_run{"no_device_argument",
                  {"-c", "2"},
                  three_devices,
                  1,
                  "usage\n" + list_of_three,
                  "",
                  listing_three},
        ended_run{"list_breaks_off",
                  {},
                  with(three_devices, "QUENVAREL_WINMM_FAIL", "midiOutGetDevCapsA#2=6"),
                  0,
                  "usage\n\noutput devices:\n0: Mapper\n",
                  "1: GetDevCaps() error.\n",
                  {"midiOutGetNumDevs -> 3", "midiOutGetDevCapsA 0 -> 0", "midiOutGetDevCapsA 1 -> 6"}},
        ended_run{"number_too_large",
                  {"3"},
                  three_devices,
                  1,
                  list_of_three,
                  "3>= 3: devid over.\n3: midiout open() failed.\n",
                  lines{"midiOutGetNumDevs -> 3"} + listing_three},
        ended_run{"unknown_name",
                  {"synth"},
                  three_devices,
                  1,
                  list_of_three,
                  "synth: device name not found.\nsynth: midiout open() failed.\n",
                  listing_three + listing_three},
        ended_run{"no_device_to_find",
                  {"Synth"},
                  {{"QUENVAREL_WINMM_OUTPUTS", ""}},
                  1,
                  "\noutput devices:\n",
                  "Synth: device name not found.\nSynth: midiout open() failed.\n",
                  {"midiOutGetNumDevs -> 0", "midiOutGetNumDevs -> 0"}},
        ended_run{"name_unreadable",
                  {"1"},
                  with(three_devices, "QUENVAREL_WINMM_FAIL", "midiOutGetDevCapsA#1=8"),
                  1,
                  list_of_three,
                  "0: GetDevCaps() error.\n1: midiout open() failed.\n",
                  lines{"midiOutGetNumDevs -> 3", "midiOutGetDevCapsA 0 -> 8"} + listing_three},
        ended_run{"device_in_use",
                  {"Synth"},
                  with(three_devices, "QUENVAREL_WINMM_FAIL", "midiOutOpen=4"),
                  1,
                  "select write device: 1: Synth A\n" + list_of_three,
                  "DeviceID=1: can't open MIDI device.\nSynth: midiout open() failed.\n",
                  lines{"midiOutGetNumDevs -> 3", "midiOutGetDevCapsA 0 -> 0", "midiOutGetDevCapsA 1 -> 0",
                        "midiOutOpen 1 callback 0 instance 0 flags 0 -> 4"} +
                      listing_three}),
    [](const auto& test) { return test.param.name; });

TEST(player_on_windows, from_the_first_call_to_the_last) {
    struct {
        const char* device;
        const char* chosen;
        lines choosing;
    } const cases[] = {
        {"2",
         "2: Synth B",
         {"midiOutGetDevCapsA 0 -> 0", "midiOutGetDevCapsA 1 -> 0", "midiOutGetDevCapsA 2 -> 0",
          "midiOutOpen 2 callback 0 instance 0 flags 0 -> 0"}},
        {"Synth",
         "1: Synth A",
         {"midiOutGetDevCapsA 0 -> 0", "midiOutGetDevCapsA 1 -> 0",
          "midiOutOpen 1 callback 0 instance 0 flags 0 -> 0"}},
    };
    for (const auto& [device, chosen, choosing] : cases) {
        player run({"-c", "3", "-p", "0x10", device}, three_devices);
        ASSERT_TRUE(run.plays()) << run.program().err();
        EXPECT_EQ(run.interrupt(), 0);
        EXPECT_EQ(unix_text(run.program().out()), std::string("select write device: ") + chosen + "\n");
        EXPECT_EQ(unix_text(run.program().err()), "");
        EXPECT_EQ(run.calls(), lines{"midiOutGetNumDevs -> 3"} + choosing +
                                   lines{"midiOutShortMsg c3 10 00 00 -> 0"} + long_message(greeting) +
                                   long_message(reset) + lines{"midiOutClose -> 0"});
    }
}

// Calls of a device that answers "still playing" are repeated until it has let go of the message.
TEST(player_on_windows, a_message_is_kept_until_the_device_has_sent_it) {
    player run({"0"}, {{"QUENVAREL_WINMM_BUSY", "150"}});
    ASSERT_TRUE(run.wait_for("midiOutUnprepareHeader -> 0"));
    EXPECT_EQ(run.interrupt(), 0);
    lines calls = run.calls();
    calls.erase(std::unique(calls.begin(), calls.end()), calls.end());
    const auto busy = [](const std::string& bytes) {
        lines all = long_message(bytes);
        all.insert(all.end() - 1, {"midiOutUnprepareHeader -> 65", "released " + bytes + " intact"});
        return all;
    };
    EXPECT_EQ(calls, (lines{"midiOutGetNumDevs -> 1", "midiOutGetDevCapsA 0 -> 0",
                            "midiOutOpen 0 callback 0 instance 0 flags 0 -> 0"} +
                      busy(greeting) + busy(reset) + lines{"midiOutClose -> 0"}));
}

TEST(player_on_windows, a_device_that_never_lets_go_of_a_message_does_not_stop_the_player) {
    player run({"0"}, {{"QUENVAREL_WINMM_BUSY", "forever"}});
    ASSERT_TRUE(run.plays());
    EXPECT_EQ(run.interrupt(), 0);
    const lines calls = run.calls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "midiOutUnprepareHeader -> 0"), 0);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "midiOutLongMsg " + reset + " -> 0"), 1);
    EXPECT_EQ(calls.back(), "midiOutClose -> 65");
}

// Unplugged after the start: every call fails from then on.
TEST(player_on_windows, a_device_that_vanishes_does_not_stop_the_player) {
    player run({"-p", "1", "0"},
               {{"QUENVAREL_WINMM_FAIL", "midiOutShortMsg=6;midiOutPrepareHeader=6;midiOutLongMsg=6;"
                                         "midiOutUnprepareHeader=6;midiOutClose=6"}});
    ASSERT_TRUE(run.wait_for("midiOutLongMsg " + greeting + " -> 6"));
    EXPECT_EQ(run.interrupt(), 0);
    EXPECT_EQ(unix_text(run.program().err()), "");
    EXPECT_EQ(run.calls().back(), "midiOutClose -> 6");
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

TEST(monitor_on_windows, says_what_fails_at_the_start) {
    struct {
        const char* failing;
        std::string err;
    } const cases[] = {
        {"midiInGetDevCapsA=8", "0: GetDevCaps() error.\n"},
        {"midiInOpen=4", "DeviceID=0: can't open MIDI device.\n"},
        {"midiInStart=5", "5: can't start MIDI in.\n"},
        {"midiInPrepareHeader=7", "7: can't prepare MIDI in.\n"},
        {"midiInAddBuffer=7", "7: can't prepare MIDI in.\n"},
    };
    for (const auto& [failing, err] : cases) {
        SCOPED_TRACE(failing);
        run_with_devices run("midimon", {"0"}, {{"QUENVAREL_WINMM_FAIL", failing}});
        EXPECT_EQ(run.program().wait(), 1);
        EXPECT_EQ(unix_text(run.program().err()), err);
        // A device that was opened is closed again.
        const lines calls = run.calls();
        const auto made = [&](const char* call) { return std::count(calls.begin(), calls.end(), call); };
        EXPECT_EQ(made("midiInClose -> 0"), made("midiInOpen 0 flags 196640 -> 0"));
    }
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
