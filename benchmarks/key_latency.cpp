// The time from a key press to the arrival of its trace line, beside a minimal GLUT program in the same run.
// Presses are injected into the X server. Both programs run on one display and take turns.

#include "priority.h"
#include "report.h"
#include "typed_keys.h"

#include "live/virtual_display.h"
#include "support/process.h"
#include "support/temporary_directory.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

using clock = std::chrono::steady_clock;
using std::chrono::microseconds;
using test_support::virtual_display;

constexpr int rounds = 100, presses_a_round = 10; // 1000 presses of each program
constexpr int rounds_a_pair = 10;                 // enough for a p99 to be compared with the other's
constexpr double most = 1.15, most_of_p99 = 1.5;

struct player {
    const char* name;
    const char* title;
    std::vector<std::string> command;
    virtual_display::window window = 0;
};

// Ours, or another build that is named, to compare the two.
std::string players_program() {
    const char* const named = std::getenv("QUENVAREL_UNDER_TEST");
    return named ? named : QUENVAREL_BIN "/quenvarel";
}

// Idle, or with a redraw requested every few milliseconds, at any moment of the press.
bool measure(const char* condition, bool redrawing, virtual_display& display, player (&players)[2],
             test_support::process* const (&programs)[2]) {
    benchmarks::typed_keys keys(display.name());
    std::mt19937 random(1);
    std::uniform_int_distribution<int> pause(2000, 9000), phase(0, 8000);
    benchmarks::result median(std::string("key to trace line, ") + condition);
    median.most_ratio = most;
    benchmarks::result p99(median.what + ", p99");
    p99.most_ratio = most_of_p99;
    for (benchmarks::result* made : {&median, &p99}) {
        made->peer_name = "minimal GLUT program";
        made->limit.kind = "toolkit";
    }
    std::vector<double> seconds_of_pair[2];
    for (int round = 0; round < rounds; ++round)
        for (int which : {round % 2, 1 - round % 2}) {
            player& p = players[which];
            display.focus(p.window);
            std::this_thread::sleep_for(microseconds(20000));
            std::vector<double> seconds;
            for (int i = 0; i < presses_a_round; ++i) {
                if (redrawing) {
                    keys.uncover(p.window);
                    std::this_thread::sleep_for(microseconds(phase(random)));
                }
                const auto begin = clock::now();
                keys.press(i, true);
                if (!programs[which]->wait_for_err("\n", std::chrono::seconds(5))) {
                    std::printf("%s does not answer\n", p.name);
                    return false;
                }
                seconds.push_back(std::chrono::duration<double>(clock::now() - begin).count());
                std::this_thread::sleep_for(microseconds(pause(random)));
                keys.press(i, false);
                std::this_thread::sleep_for(microseconds(pause(random)));
            }
            (which == 0 ? median.ours : median.peer).push_back(benchmarks::median(seconds));
            std::vector<double>& of_pair = seconds_of_pair[which];
            of_pair.insert(of_pair.end(), seconds.begin(), seconds.end());
            if (int(of_pair.size()) < rounds_a_pair * presses_a_round) continue;
            (which == 0 ? p99.ours : p99.peer).push_back(benchmarks::quantile(of_pair, 0.99));
            of_pair.clear();
        }
    benchmarks::report(median);
    benchmarks::report(p99);
    return true;
}

} // namespace

int main() {
    benchmarks::go_before_others(benchmarks::going_first::this_one);
    const test_support::temporary_directory directory;
    virtual_display display;
    const test_support::process_options options = {{{"DISPLAY", display.name()}}, directory.path()};
    player players[] = {
        {"quenvarel to a MIDI file",
         "Quenvarel(TM) for MIDI Version 2.2.0",
         {players_program(), "MIDI file"}},
        {"minimal GLUT program (floor)", "key latency floor", {QUENVAREL_BENCH_BIN "/key_latency_floor"}},
    };
    test_support::process ours(players[0].command, options), floor(players[1].command, options);
    test_support::process* const programs[] = {&ours, &floor};
    for (int which : {0, 1}) {
        players[which].window = display.find_window(players[which].title);
        display.focus(players[which].window);
        display.drive("key h"); // lets each handle what its start left in the queues
        if (!players[which].window || !programs[which]->wait_for_err("0x68, 'h'")) {
            std::printf("%s does not answer: %s\n", players[which].name, programs[which]->err().c_str());
            return 1;
        }
        programs[which]->wait_for_err("\n");
    }
    if (!measure("window at rest", false, display, players, programs) ||
        !measure("window redrawing", true, display, players, programs))
        return 1;
    for (const player& p : players) {
        const std::string window = std::to_string(p.window);
        display.drive("windowmove " + window + " 0 0 windowsize --sync " + window + " 3840 2160");
    }
    std::this_thread::sleep_for(std::chrono::seconds(3)); // for what is prepared for keys in a new size
    return measure("3840 by 2160", false, display, players, programs) ? 0 : 1;
}
