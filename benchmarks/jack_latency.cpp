// The time from a key press to the arrival of its note at another JACK client, beside jack-keyboard in the
// same run. Presses are injected into the X server; both programs run on one display, send to one port and
// take turns.

#include "priority.h"
#include "report.h"
#include "typed_keys.h"

#include "live/virtual_display.h"
#include "support/jack_server.h"
#include "support/process.h"
#include "support/temporary_directory.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <jack/jack.h>
#include <jack/midiport.h>
#include <random>
#include <semaphore.h>
#include <string>
#include <thread>
#include <vector>

namespace {

using clock = std::chrono::steady_clock;
using std::chrono::microseconds;
using test_support::virtual_display;

constexpr int rounds = 50, presses_a_round = 20; // 1000 presses of each program
constexpr int rounds_a_pair = 5;                 // enough for a p99 to be compared with the other's
constexpr int frames = 64;                       // in a cycle of the server: 1.3 ms
constexpr char receiver_name[] = "key-receiver", port_name[] = "in";

// Records when a note arrives: at the start of a cycle, whoever sent it.
class receiver {
public:
    receiver() {
        sem_init(&arrived_, 0, 0);
        client_ = jack_client_open(receiver_name, JackNoStartServer, nullptr);
        if (!client_) return;
        port_ = jack_port_register(client_, port_name, JACK_DEFAULT_MIDI_TYPE, JackPortIsInput, 0);
        jack_set_process_callback(
            client_,
            [](jack_nframes_t count, void* self) { return static_cast<receiver*>(self)->process(count); },
            this);
        jack_activate(client_);
    }
    ~receiver() {
        if (client_) jack_client_close(client_);
        sem_destroy(&arrived_);
    }
    receiver(const receiver&) = delete;
    receiver& operator=(const receiver&) = delete;

    bool works() const { return client_ && port_; }
    // Waits for the next note-on and gives its time; false when none comes within a second.
    bool wait(clock::time_point& when) {
        timespec limit;
        clock_gettime(CLOCK_REALTIME, &limit);
        limit.tv_sec += 1;
        if (sem_timedwait(&arrived_, &limit) != 0) return false;
        when = clock::time_point(clock::duration(when_.load()));
        return true;
    }
    // Drops what arrived unasked.
    void forget() {
        while (sem_trywait(&arrived_) == 0) {
        }
    }

private:
    int process(jack_nframes_t count) {
        void* const buffer = jack_port_get_buffer(port_, count);
        const auto now = clock::now().time_since_epoch().count();
        jack_midi_event_t event;
        for (std::uint32_t i = 0; jack_midi_event_get(&event, buffer, i) == 0; ++i)
            if (event.size == 3 && (event.buffer[0] & 0xF0) == 0x90 && event.buffer[2] != 0) {
                when_ = now;
                sem_post(&arrived_);
            }
        return 0;
    }

    jack_client_t* client_ = nullptr;
    jack_port_t* port_ = nullptr;
    std::atomic<clock::rep> when_ = 0;
    sem_t arrived_;
};

struct player {
    const char* name;
    const char* title;
    std::vector<std::string> command;
    virtual_display::window window = 0;
    std::vector<std::vector<double>> seconds = {{}}; // the last are those of the current turns
    int lost = 0;
};

bool press_and_wait(player& p, receiver& notes, benchmarks::typed_keys& keys, std::mt19937& random, int i) {
    std::uniform_int_distribution<int> pause(3000, 12000);
    const auto begin = clock::now();
    keys.press(i, true);
    clock::time_point end;
    const bool arrived = notes.wait(end);
    if (arrived) p.seconds.back().push_back(std::chrono::duration<double>(end - begin).count());
    std::this_thread::sleep_for(microseconds(pause(random)));
    keys.press(i, false);
    std::this_thread::sleep_for(microseconds(pause(random)));
    return arrived;
}

} // namespace

int main() {
    benchmarks::go_before_others(benchmarks::going_first::with_all_that_it_starts);
    const test_support::jack_server server(0, frames);
    const test_support::temporary_directory directory;
    virtual_display display;
    receiver notes;
    if (!server.runs() || !notes.works()) {
        std::printf("There is no JACK server.\n");
        return 1;
    }
    const std::string port = std::string(receiver_name) + ':' + port_name;
    // jack-keyboard at its fastest: without the offset that evens out its delays.
    player players[] = {
        {"quenvarel", "Quenvarel(TM) for MIDI Version 2.2.0", {QUENVAREL_BIN "/quenvarel", port}},
        {"jack-keyboard", "jack-keyboard", {"jack-keyboard", "-t", "-a", port}},
    };
    const test_support::process_options options = {{{"DISPLAY", display.name()}}, directory.path()};
    test_support::process ours(players[0].command, options), peer(players[1].command, options);
    benchmarks::typed_keys keys(display.name());
    std::mt19937 random(1);
    for (player& p : players) {
        p.window = display.find_window(p.title);
        bool answers = false;
        for (int tries = 0; p.window && !answers && tries < 20; ++tries) {
            display.focus(p.window);
            answers = press_and_wait(p, notes, keys, random, tries);
        }
        if (!answers) {
            std::printf("%s does not answer: %s\n", p.name, (&p == players ? ours : peer).err().c_str());
            return 1;
        }
        p.seconds.clear();
    }
    for (int round = 0; round < rounds; ++round)
        for (const int which : {round % 2, 1 - round % 2}) {
            player& p = players[which];
            if (round % rounds_a_pair == 0) p.seconds.emplace_back();
            display.focus(p.window);
            std::this_thread::sleep_for(microseconds(50000));
            notes.forget();
            for (int i = 0; i < presses_a_round; ++i)
                // On a busy machine the server drops late events.
                if (!press_and_wait(p, notes, keys, random, i)) ++p.lost;
            if (p.lost > rounds * presses_a_round / 20) {
                std::printf("%s: too many notes do not arrive\n", p.name);
                return 1;
            }
        }
    for (const player& p : players)
        if (p.lost > 0) std::printf("%s: %d notes did not arrive\n", p.name, p.lost);
    for (const auto& [name, part] : {std::pair{"p50", 0.5}, {"p99", 0.99}}) {
        benchmarks::result made(std::string("key to JACK event, ") + name);
        made.peer_name = players[1].name;
        made.most_ratio = 1;
        made.limit = {"system", part * frames / 48000}; // until the next cycle begins
        for (std::size_t pair = 0; pair < players[0].seconds.size(); ++pair) {
            made.ours.push_back(benchmarks::quantile(players[0].seconds[pair], part));
            made.peer.push_back(benchmarks::quantile(players[1].seconds[pair], part));
        }
        benchmarks::report(made);
    }
}
