// The time from the start of the player, with all keys and no SoundFont, to its first picture on the screen,
// and its memory then; beside a GLUT program that shows nothing.

#include "priority.h"
#include "report.h"

#include "live/virtual_display.h"
#include "support/process.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using clock = std::chrono::steady_clock;

constexpr int runs = 20;
constexpr double most = 0.25; // seconds to the first picture

// Resident memory in MiB.
double resident(pid_t process) {
    std::istringstream lines(test_support::read_file("/proc/" + std::to_string(process) + "/status"));
    double kibibytes = 0;
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with("VmRSS:")) kibibytes = std::stod(line.substr(6));
    return kibibytes / 1024;
}

struct program {
    const char* name;
    const char* title;
    std::vector<std::string> command;
    bool draws; // otherwise only its window can be waited for
};

bool is_lit(const test_support::picture& image) {
    return std::any_of(image.rgba.begin(), image.rgba.end(),
                       [](std::uint8_t value) { return value > 150 && value < 255; });
}

// Seconds to its first picture, or to its window; MiB a while later.
struct cost {
    double seconds = 0, memory = 0;
};

bool measure(cost& made, const program& p, test_support::virtual_display& display) {
    const test_support::temporary_directory directory;
    const auto begin = clock::now();
    test_support::process started(
        p.command, {.environment = {{"DISPLAY", display.name()}}, .directory = directory.path().string()});
    const auto window = display.find_window(p.title);
    if (!window) return false;
    if (p.draws) {
        display.move(window, 0, 0);
        while (!is_lit(display.screenshot(window))) {
            if (clock::now() - begin > std::chrono::seconds(30)) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    made.seconds = std::chrono::duration<double>(clock::now() - begin).count();
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    made.memory = resident(started.pid());
    started.send_signal(SIGKILL);
    started.wait();
    return true;
}

} // namespace

int main() {
    benchmarks::go_before_others(benchmarks::going_first::with_all_that_it_starts);
    test_support::virtual_display display;
    const program nothing = {
        "nothing in a window", "key latency floor", {QUENVAREL_BENCH_BIN "/key_latency_floor"}, false};
    const program keyboard = {"the keyboard",
                              "Quenvarel(TM) for MIDI Version 2.2.0",
                              {QUENVAREL_BIN "/quenvarel", "MIDI file"},
                              true};
    benchmarks::result start("start to first frame, 128 keys");
    start.most = most;
    benchmarks::result memory("resident memory");
    memory.unit = "MiB";
    for (benchmarks::result* made : {&start, &memory}) {
        made->peer_name = nothing.name;
        made->limit.kind = "toolkit";
    }
    for (int run = 0; run < runs; ++run)
        for (const program* p : {&nothing, &keyboard}) {
            cost made;
            if (!measure(made, *p, display)) {
                std::cerr << p->name << " did not come.\n";
                return 1;
            }
            const bool ours = p == &keyboard;
            (ours ? start.ours : start.peer).push_back(made.seconds);
            (ours ? memory.ours : memory.peer).push_back(made.memory);
        }
    benchmarks::report(start);
    benchmarks::report(memory);
}
