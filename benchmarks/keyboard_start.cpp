// From the start of the player to its first picture on the screen, with all keys and no SoundFont, and the
// memory that it then takes; beside a GLUT program that shows nothing.

#include "live/virtual_display.h"
#include "support/process.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using clock = std::chrono::steady_clock;

constexpr int runs = 20;
constexpr double most = 300; // milliseconds to the first picture

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
    bool draws; // else its window is all that there is to wait for
};

bool is_lit(const test_support::picture& image) {
    return std::any_of(image.rgba.begin(), image.rgba.end(),
                       [](std::uint8_t value) { return value > 150 && value < 255; });
}

bool measure(const program& p, test_support::virtual_display& display) {
    std::vector<double> times;
    double memory = 0;
    for (int run = 0; run < runs; ++run) {
        const test_support::temporary_directory directory;
        const auto begin = clock::now();
        test_support::process started(p.command, {.environment = {{"DISPLAY", display.name()}},
                                                  .directory = directory.path().string()});
        const auto window = display.find_window(p.title);
        if (!window) return false;
        if (p.draws) {
            display.move(window, 0, 0);
            while (!is_lit(display.screenshot(window))) {
                if (clock::now() - begin > std::chrono::seconds(30)) return false;
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        }
        times.push_back(std::chrono::duration<double, std::milli>(clock::now() - begin).count());
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        memory = resident(started.pid());
        started.send_signal(SIGKILL);
        started.wait();
    }
    std::sort(times.begin(), times.end());
    std::printf("%-22s %9.1f %9.1f %9.1f %9.1f", p.name, times.front(), times[runs / 2], times.back(),
                memory);
    if (p.draws) std::printf("  at most %.0f: %s", most, times.front() <= most ? "held" : "MISSED");
    std::printf("\n");
    return true;
}

} // namespace

int main() {
    test_support::virtual_display display;
    const program programs[] = {
        {"nothing in a window", "key latency floor", {QUENVAREL_BENCH_BIN "/key_latency_floor"}, false},
        {"the keyboard",
         "Quenvarel(TM) for MIDI Version 2.2.0",
         {QUENVAREL_BIN "/quenvarel", "MIDI file"},
         true},
    };
    std::printf("%-22s %9s %9s %9s %9s\n", "ms to the first frame", "fastest", "median", "slowest", "MiB");
    for (const program& p : programs)
        if (!measure(p, display)) {
            std::fprintf(stderr, "%s did not come.\n", p.name);
            return 1;
        }
}
