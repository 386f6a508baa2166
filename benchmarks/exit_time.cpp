// How long the player takes to end, for each way of ending it, while notes sound.

#include "report.h"

#include "live/player_under_test.h"

#include <chrono>
#include <csignal>
#include <string>
#include <thread>

namespace {

using clock = std::chrono::steady_clock;
using test_support::player_under_test;
using test_support::virtual_display;

constexpr int runs = 20;
constexpr double most = 0.2; // seconds

struct way {
    const char* name;
    void (*end)(player_under_test&);
    bool in_the_loop = true;
};

const way ways[] = {
    {"Escape", [](player_under_test& player) { player.drive_on("key Escape"); }},
    {"window closed", [](player_under_test& player) { player.display().request_close(player.window()); }},
    {"interrupt", [](player_under_test& player) { player.program().send_signal(SIGINT); }},
    {"interrupt during the start", [](player_under_test& player) { player.program().send_signal(SIGINT); },
     false},
    {"terminate", [](player_under_test& player) { player.program().send_signal(SIGTERM); }},
};

} // namespace

int main() {
    virtual_display display;
    for (const way& w : ways) {
        benchmarks::result made(std::string("exit: ") + w.name);
        made.most = most;
        made.always = true;
        for (int run = 0; run < runs; ++run) {
            player_under_test player(display, {});
            if (w.in_the_loop) {
                if (!player.open_window()) return 1;
                player.drive("keydown z keydown c");
            } else if (!player.program().wait_for_out("select write device")) {
                return 1;
            } else { // each run at a later moment of the start
                std::this_thread::sleep_for(std::chrono::milliseconds(15 * run));
            }
            const auto begin = clock::now();
            w.end(player);
            if (player.program().wait() != 0) return 1;
            made.ours.push_back(std::chrono::duration<double>(clock::now() - begin).count());
            display.drive("keyup z keyup c");
        }
        benchmarks::report(made);
    }
}
