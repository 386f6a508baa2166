#pragma once
// The player as a user has it: the finished program in its window, with keyboard and mouse; its traces and
// the MIDI messages that it sends. Which program is run, the environment decides:
//   QUENVAREL_UNDER_TEST   unset: the native program of this build; otherwise a command that runs the Windows
//   program
//                          beside the stand-in winmm.dll, such as winmm_stand_in's starter

#include "support/process.h"
#include "support/temporary_directory.h"
#include "virtual_display.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace test_support {

// What differs between the systems.
struct system_under_test {
    std::vector<std::string> command;
    bool windows;
    const char* device; // a device argument that opens a device whose messages can be read back
};
const system_under_test& under_test();

class player_under_test {
public:
    // Starts the program on a display of its own. options come before the device argument.
    explicit player_under_test(const std::vector<std::string>& options = {},
                               const std::string& layout = "us");
    // The same on somebody's display.
    player_under_test(virtual_display& display, const std::vector<std::string>& options);

    // Ctrl-C.
    void interrupt();
    // Another event of a Windows program's console, by its number.
    void console_event(int number);

    // Waits for the window with the greeting sent, and gives it the keyboard. False when it does not come.
    bool open_window();
    virtual_display& display() { return display_; }
    virtual_display::window window() const { return window_; }
    process& program() { return program_; }

    // Presses, releases and moves as xdotool does, then waits until the program has handled it all.
    void drive(const std::string& commands);
    // The same without waiting.
    void drive_on(const std::string& commands) { display_.drive(commands); }
    // Waits until everything up to now has been handled.
    void settle();

    // The trace lines so far, each with its newline.
    std::string traced();
    // Ends the program with Escape, unless it has ended. Its exit code; -1 when it does not end.
    int end();
    // After the end: every message in hex, separated by "; ".
    std::string sent();
    // sent() without the greeting at its begin and the display reset at its end; "?" in front where one is
    // missing.
    std::string played();

private:
    process_options environment() const;

    std::optional<virtual_display> own_display_;
    virtual_display& display_;
    temporary_directory directory_;
    process program_;
    virtual_display::window window_ = 0;
};

// What played() gives: the text, where parentheses hold what a recorded file has and a port does not get.
std::string as_played(std::string text);

// Plays note 60 in the window of a player that was started otherwise, and ends it with Escape. Its exit code;
// -1 when it does not come, play or end.
int play_a_note(virtual_display& display, process& program);

constexpr char window_title[] = "Quenvarel(TM) for MIDI Version 2.2.0";
constexpr char greeting[] =
    "f0 41 10 16 12 20 00 00 51 75 65 6e 76 61 72 65 6c 2d 4d 49 44 49 20 56 65 72 20 32 3e f7";
constexpr char display_reset[] = "f0 41 10 16 12 20 01 00 00 5f f7";

} // namespace test_support
