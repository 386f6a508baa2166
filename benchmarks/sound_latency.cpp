// The time from a key press to the first sample of its sound at the sound card's side of a JACK server: of
// the built-in synthesizer, of jack-keyboard with a separate FluidSynth, and of a JACK client that only
// clicks on a key event, which is the limit. Presses are injected into the X server; all run on one display
// and one server, and take turns.

#include "priority.h"
#include "report.h"
#include "typed_keys.h"

#include "live/virtual_display.h"
#include "support/jack_server.h"
#include "support/process.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <jack/jack.h>
#include <random>
#include <semaphore.h>
#include <string>
#include <thread>
#include <vector>

namespace {

using clock = std::chrono::steady_clock;
using std::chrono::microseconds, std::chrono::milliseconds;
using test_support::virtual_display;

constexpr int rounds = 12, presses_a_round = 5; // 60 presses of each program
constexpr int rounds_a_pair = 4;
constexpr int frames = 64, rate = 48000; // in a cycle of the server: 1.3 ms
constexpr double period = double(frames) / rate;
constexpr float least_noise = 1e-4f, most_noise = 1e-2f; // -80 and -40 dB of full scale
constexpr float above_noise = 4;                         // what is so many times louder is a note
constexpr double most_periods_over_limit = 2, most_seconds_over_limit = 0.002;

// Listens where the loudspeakers would be.
class ears {
public:
    ears() {
        sem_init(&heard_, 0, 0);
        client_ = jack_client_open("key-ears", JackNoStartServer, nullptr);
        if (!client_) return;
        port_ = jack_port_register(client_, "in", JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
        jack_set_process_callback(
            client_,
            [](jack_nframes_t count, void* self) { return static_cast<ears*>(self)->process(count); }, this);
        jack_activate(client_);
    }
    ~ears() {
        if (client_) jack_client_close(client_);
        sem_destroy(&heard_);
    }
    ears(const ears&) = delete;
    ears& operator=(const ears&) = delete;

    bool works() const { return client_ && port_; }
    // Hears this port and no other. False when it does not come.
    bool listen_to(const std::string& port) {
        jack_port_disconnect(client_, port_);
        return test_support::jack_server::until(
            [&] { return jack_connect(client_, port.c_str(), jack_port_name(port_)) == 0; });
    }
    // Waits until the note before has died away but for its reverb.
    bool wait_for_quiet() {
        for (int i = 0; i < 2000 && noise_ > most_noise; ++i)
            std::this_thread::sleep_for(milliseconds(5));
        return noise_ <= most_noise;
    }
    void begin() {
        while (sem_trywait(&heard_) == 0) {
        }
        waiting_ = true;
    }
    // The time of the first sample above the noise; false when none comes within a second.
    bool wait(clock::time_point& when) {
        timespec limit;
        clock_gettime(CLOCK_REALTIME, &limit);
        limit.tv_sec += 1;
        if (sem_timedwait(&heard_, &limit) != 0) return false;
        when = clock::time_point(clock::duration(when_.load()));
        return true;
    }

private:
    int process(jack_nframes_t count) {
        const auto now = clock::now();
        const auto* const samples = static_cast<const float*>(jack_port_get_buffer(port_, count));
        const bool waiting = waiting_;
        const float limit = above_noise * noise_;
        float peak = 0;
        for (jack_nframes_t i = 0; i < count; ++i) {
            peak = std::max(peak, std::abs(samples[i]));
            if (!waiting || peak <= limit) continue;
            const auto when = now + std::chrono::nanoseconds(i * 1'000'000'000LL / rate);
            when_ = when.time_since_epoch().count();
            waiting_ = false;
            sem_post(&heard_);
            return 0;
        }
        if (!waiting) noise_ = std::max({peak, noise_ * 0.98f, least_noise});
        return 0;
    }

    jack_client_t* client_ = nullptr;
    jack_port_t* port_ = nullptr;
    std::atomic<clock::rep> when_ = 0;
    std::atomic<bool> waiting_ = false;
    std::atomic<float> noise_ = 1;
    sem_t heard_;
};

// A window that clicks, and the barest way from a key event to a sample.
class clicker {
public:
    explicit clicker(const std::string& display) {
        client_ = jack_client_open("key-click", JackNoStartServer, nullptr);
        connection_ = XOpenDisplay(display.c_str());
        if (!client_ || !connection_) return;
        port_ = jack_port_register(client_, "out", JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput, 0);
        jack_set_process_callback(
            client_,
            [](jack_nframes_t count, void* self) {
                auto* const click = static_cast<clicker*>(self);
                auto* const samples = static_cast<float*>(jack_port_get_buffer(click->port_, count));
                std::memset(samples, 0, count * sizeof *samples);
                if (click->pressed_.exchange(false)) samples[0] = 1;
                return 0;
            },
            this);
        jack_activate(client_);
        const Window window =
            XCreateSimpleWindow(connection_, DefaultRootWindow(connection_), 0, 0, 200, 100, 0, 0, 0);
        XStoreName(connection_, window, "key-click");
        XSelectInput(connection_, window, KeyPressMask);
        XMapWindow(connection_, window);
        XFlush(connection_);
        thread_ = std::thread([this] {
            for (XEvent event; !ended_;)
                if (XPending(connection_) == 0)
                    std::this_thread::sleep_for(microseconds(20));
                else if (XNextEvent(connection_, &event); event.type == KeyPress)
                    pressed_ = true;
        });
    }
    ~clicker() {
        ended_ = true;
        if (thread_.joinable()) thread_.join();
        if (client_) jack_client_close(client_);
        if (connection_) XCloseDisplay(connection_);
    }
    clicker(const clicker&) = delete;
    clicker& operator=(const clicker&) = delete;

private:
    jack_client_t* client_ = nullptr;
    jack_port_t* port_ = nullptr;
    Display* connection_ = nullptr;
    std::atomic<bool> pressed_ = false, ended_ = false;
    std::thread thread_;
};

struct player {
    const char *name, *title, *port;
    virtual_display::window window = 0;
    std::vector<std::vector<double>> seconds = {{}};
    int lost = 0;
};

bool press_and_hear(player& p, ears& listener, benchmarks::typed_keys& keys, std::mt19937& random, int turn) {
    std::uniform_int_distribution<int> pause(3000, 12000);
    if (!listener.wait_for_quiet()) return false;
    std::this_thread::sleep_for(microseconds(pause(random)));
    listener.begin();
    const auto begin = clock::now();
    keys.press(turn, true);
    clock::time_point end;
    const bool heard = listener.wait(end);
    if (heard) p.seconds.back().push_back(std::chrono::duration<double>(end - begin).count());
    std::this_thread::sleep_for(milliseconds(5));
    keys.press(turn, false);
    return heard;
}

} // namespace

int main() {
    benchmarks::go_before_others(benchmarks::going_first::with_all_that_it_starts);
    const test_support::jack_server server(2, frames);
    const test_support::temporary_directory directory;
    virtual_display display;
    ears listener;
    if (!server.runs() || !listener.works()) {
        std::printf("There is no JACK server.\n");
        return 1;
    }
    const test_support::process_options options = {{{"DISPLAY", display.name()}}, directory.path()};
    // A woodblock, which starts at once and is short.
    constexpr char soundfont[] = "/usr/share/sounds/sf2/TimGM6mb.sf2";
    test_support::process ours(
        {QUENVAREL_BIN "/quenvarel", "-p", "115", std::string("--soundfont=") + soundfont, "FluidSynth"},
        options);
    test_support::process synthesizer({"fluidsynth", "-g",
                                       "1.5",        "-r",
                                       "48000",      "-i",
                                       "-s",         "-q",
                                       "-a",         "jack",
                                       "-m",         "jack",
                                       "-R",         "0",
                                       "-C",         "0",
                                       "-o",         "audio.jack.id=separate",
                                       "-o",         "midi.jack.id=separate",
                                       "-o",         "midi.autoconnect=0",
                                       soundfont},
                                      options);
    test_support::jack_server::until_port("separate:midi_00");
    test_support::process peer({"jack-keyboard", "-t", "-p", "115", "-a", "separate:midi_00"}, options);
    const clicker limit(display.name());
    player players[] = {
        {"quenvarel", "Quenvarel(TM) for MIDI Version 2.2.0", "quenvarel:left"},
        {"jack-keyboard, FluidSynth", "jack-keyboard", "separate:left"},
        {"click", "key-click", "key-click:out"},
    };
    benchmarks::typed_keys keys(display.name());
    std::mt19937 random(1);
    const auto turn_to = [&](player& p) {
        display.focus(p.window);
        return listener.listen_to(p.port);
    };
    for (player& p : players) {
        p.window = display.find_window(p.title);
        bool is_heard = false;
        for (int tries = 0; p.window && !is_heard && tries < 20; ++tries)
            is_heard = turn_to(p) && press_and_hear(p, listener, keys, random, tries);
        if (!is_heard) {
            std::printf("%s is not heard: %s%s\n", p.name, ours.err().c_str(), synthesizer.err().c_str());
            return 1;
        }
        p.seconds.clear();
    }
    for (int round = 0; round < rounds; ++round)
        for (int turn = 0; turn < 3; ++turn) {
            player& p = players[(round + turn) % 3];
            if (round % rounds_a_pair == 0) p.seconds.emplace_back();
            turn_to(p);
            std::this_thread::sleep_for(milliseconds(50));
            for (int i = 0; i < presses_a_round; ++i)
                if (!press_and_hear(p, listener, keys, random, i)) ++p.lost;
            if (p.lost > rounds * presses_a_round / 20) {
                std::printf("%s: too many notes are not heard\n", p.name);
                return 1;
            }
        }
    for (const auto& [name, part] : {std::pair{"p50", 0.5}, {"p99", 0.99}}) {
        std::vector<double> least;
        for (const std::vector<double>& seconds : players[2].seconds)
            least.push_back(benchmarks::quantile(seconds, part));
        benchmarks::result made(std::string("key to sound on JACK, ") + name);
        made.peer_name = players[1].name;
        made.most_ratio = 1;
        made.limit = {"system", benchmarks::median(least)};
        for (std::size_t pair = 0; pair < players[0].seconds.size(); ++pair) {
            made.ours.push_back(benchmarks::quantile(players[0].seconds[pair], part));
            made.peer.push_back(benchmarks::quantile(players[1].seconds[pair], part));
        }
        benchmarks::report(made);
        benchmarks::result over(std::string("the same beyond a click on a key, ") + name);
        over.most = most_periods_over_limit * period + most_seconds_over_limit;
        for (std::size_t pair = 0; pair < players[0].seconds.size(); ++pair)
            over.ours.push_back(made.ours[pair] - least[pair]);
        benchmarks::report(over);
    }
}
