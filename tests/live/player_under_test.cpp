#include "player_under_test.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>

namespace test_support {

namespace {

// A key that does nothing but leave a trace.
constexpr char marker_key[] = "F11", marker_trace[] = "spkey: 0xb";

std::vector<std::string> joined(std::vector<std::string> first, const std::vector<std::string>& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

void append_hex(std::string& message, unsigned byte) {
    char digits[4];
    std::snprintf(digits, sizeof digits, message.empty() ? "%02x" : " %02x", byte & 0xFF);
    message += digits;
}

// A recorded file, read by an independent program: "track, time, Event_c, ...".
std::vector<std::string> messages_of_file(const std::string& name) {
    static const std::map<std::string, unsigned> statuses = {{"Note_on_c", 0x90},
                                                             {"Note_off_c", 0x80},
                                                             {"Control_c", 0xb0},
                                                             {"Program_c", 0xc0},
                                                             {"Pitch_bend_c", 0xe0}};
    std::vector<std::string> messages;
    std::istringstream lines(run({"midicsv", name}).out);
    for (std::string line; std::getline(lines, line);) {
        for (char& c : line)
            if (c == ',') c = ' ';
        std::istringstream fields(line);
        std::string track, time, event;
        fields >> track >> time >> event;
        std::vector<unsigned> values{std::istream_iterator<unsigned>(fields), {}};
        std::string message;
        if (const auto status = statuses.find(event); status != statuses.end()) {
            append_hex(message, status->second | values.at(0));
            for (std::size_t i = 1; i < values.size(); ++i)
                append_hex(message, values[i]);
        } else if (event == "System_exclusive") { // the length, then the bytes after F0
            append_hex(message, 0xf0);
            for (std::size_t i = 1; i < values.size(); ++i)
                append_hex(message, values[i]);
        } else {
            continue;
        }
        messages.push_back(message);
    }
    return messages;
}

// The stand-in's log: "midiOutShortMsg 90 3c 7f 00 -> 0".
std::vector<std::string> messages_of_log(const std::string& log) {
    std::vector<std::string> messages;
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t begin = line.find(' ') + 1;
        std::string bytes = line.substr(begin, line.find(" -> ") - begin);
        if (line.starts_with("midiOutShortMsg ")) {
            const bool program_change = bytes[0] == 'c';
            messages.push_back(bytes.substr(0, program_change ? 5 : 8));
        } else if (line.starts_with("midiOutLongMsg ")) {
            messages.push_back(bytes);
        }
    }
    return messages;
}

} // namespace

const system_under_test& under_test() {
    static const system_under_test chosen = []() -> system_under_test {
        const char* named = std::getenv("QUENVAREL_UNDER_TEST");
        const std::filesystem::path command = named ? named : QUENVAREL_BIN "/quenvarel";
        const bool windows = std::filesystem::exists(command.parent_path() / "winmm.dll");
        return {{command}, windows, windows ? "Stand-in" : "MIDI file"};
    }();
    return chosen;
}

process_options player_under_test::environment() const {
    return {.environment = {{"DISPLAY", display_.name()},
                            {"QUENVAREL_WINMM_LOG", directory_.file("winmm.log")},
                            {"QUENVAREL_WINMM_CONSOLE", directory_.file("console")}},
            .directory = directory_.path()};
}

player_under_test::player_under_test(const std::vector<std::string>& options, const std::string& layout)
    : own_display_(std::in_place, layout),
      display_(*own_display_),
      program_(joined(joined(under_test().command, options), {under_test().device}), environment()) {}

player_under_test::player_under_test(virtual_display& display, const std::vector<std::string>& options)
    : display_(display),
      program_(joined(joined(under_test().command, options), {under_test().device}), environment()) {}

void player_under_test::interrupt() {
    if (under_test().windows)
        console_event(0);
    else
        program_.send_signal(SIGINT);
}

void player_under_test::console_event(int number) {
    std::ofstream(directory_.file("console"), std::ios::app) << number << '\n';
}

bool player_under_test::open_window() {
    do { // Wine replaces its window now and then
        window_ = display_.find_window(window_title);
        if (!window_) return false;
    } while (!display_.focus(window_));
    // Keys wait for the loop, so this one is handled after the greeting.
    settle();
    return true;
}

void player_under_test::drive(const std::string& commands) {
    display_.drive(commands);
    settle();
}

void player_under_test::settle() {
    display_.drive(std::string("key ") + marker_key);
    program_.wait_for_err(marker_trace);
}

std::string player_under_test::traced() {
    std::string traces;
    std::istringstream lines(program_.err());
    for (std::string line; std::getline(lines, line);) {
        if (line.ends_with('\r')) line.pop_back();
        // Keys without a model are none of the player's doing.
        if (line != marker_trace && !line.ends_with(": file open error.")) traces += line + '\n';
    }
    return traces;
}

int player_under_test::end() {
    if (const auto code = program_.wait(std::chrono::milliseconds(0))) return *code;
    display_.drive("key Escape");
    return program_.wait().value_or(-1);
}

std::string player_under_test::sent() {
    const std::vector<std::string> messages = under_test().windows
                                                  ? messages_of_log(read_file(directory_.file("winmm.log")))
                                                  : messages_of_file(directory_.file("quenvarel.mid"));
    std::string all;
    for (const std::string& message : messages)
        all += (all.empty() ? "" : "; ") + message;
    return all;
}

std::string player_under_test::played() {
    const std::string all = sent(), begin = std::string(greeting) + "; ", end = display_reset;
    const std::size_t at = all.find(begin);
    if (at == std::string::npos || !all.ends_with(end)) return "? " + all;
    const std::string rest = all.substr(0, at) + all.substr(at + begin.size());
    return rest == end ? "" : rest.substr(0, rest.size() - end.size() - 2);
}

std::string as_played(std::string text) {
    const std::regex only_in_files("\\(([^)]*)\\)");
    return std::regex_replace(text, only_in_files, under_test().windows ? "" : "$1");
}

int play_a_note(virtual_display& display, process& program) {
    const virtual_display::window window = display.find_window(window_title);
    if (window == 0) return -1;
    display.focus(window);
    display.drive("keydown q keyup q");
    const bool played = program.wait_for_err("key: 0x71, 'q', note: 60");
    display.drive("key Escape");
    const int code = program.wait().value_or(-1);
    return played ? code : -1;
}

} // namespace test_support
