#pragma once
// The time from a key press to the first sample of its note, for several programs in turns. Presses are
// injected into the X server; all programs run on one display, each has an ear of its own.

#include "report.h"
#include "typed_keys.h"

#include "live/virtual_display.h"
#include "support/temporary_directory.h"

#include <X11/Xlib.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace benchmarks {

constexpr char soundfont[] = "/usr/share/sounds/sf2/TimGM6mb.sf2";
constexpr char gain[] = "1.5"; // of each FluidSynth; every program plays the piano with velocity 64

// Where the samples of one program arrive.
class ear {
public:
    using clock = std::chrono::steady_clock;
    static constexpr int rate = 48000;
    // Of full scale: -60 dB is heard as a note, and what stays below -72 dB for a while is silence. The same
    // for every program.
    static constexpr float audible = 1e-3f, silent = 2.5e-4f;
    static constexpr int silence = rate / 50;

    // These samples have come now. On one thread.
    void hear(const float* samples, std::size_t count) {
        const auto now = clock::now();
        for (std::size_t i = 0; i < count; ++i) {
            const float level = std::abs(samples[i]);
            silent_for_ = level > silent ? 0 : silent_for_ + 1;
            if (level <= audible || !waiting_) continue;
            when_ = (now + std::chrono::nanoseconds(i * 1'000'000'000LL / rate)).time_since_epoch().count();
            waiting_ = false;
        }
    }
    // On another one.
    bool wait_for_silence() const {
        for (int i = 0; i < 5000 && silent_for_ < silence; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return silent_for_ >= silence;
    }
    void begin() { waiting_ = true; }
    // When the first audible sample came; nothing when none has come within half a second.
    std::optional<clock::time_point> wait() {
        for (int i = 0; i < 500 && waiting_; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        if (waiting_.exchange(false)) return std::nullopt;
        return clock::time_point(clock::duration(when_.load()));
    }

private:
    std::atomic<clock::rep> when_ = 0;
    std::atomic<bool> waiting_ = false;
    std::atomic<int> silent_for_ = 0; // samples
};

// A window that calls a function when a key goes down, in the barest way.
class key_window {
public:
    template <class Function>
    key_window(const std::string& display, const char* title, Function pressed)
        : connection_(XOpenDisplay(display.c_str())) {
        const Window window =
            XCreateSimpleWindow(connection_, DefaultRootWindow(connection_), 0, 0, 200, 100, 0, 0, 0);
        XStoreName(connection_, window, title);
        XSelectInput(connection_, window, KeyPressMask);
        XMapWindow(connection_, window);
        XFlush(connection_);
        thread_ = std::thread([this, pressed] {
            for (XEvent event; !ended_;)
                if (XPending(connection_) == 0)
                    std::this_thread::sleep_for(std::chrono::microseconds(20));
                else if (XNextEvent(connection_, &event); event.type == KeyPress)
                    pressed();
        });
    }
    ~key_window() {
        ended_ = true;
        thread_.join();
        XCloseDisplay(connection_);
    }
    key_window(const key_window&) = delete;
    key_window& operator=(const key_window&) = delete;

private:
    Display* connection_;
    std::atomic<bool> ended_ = false;
    std::thread thread_;
};

struct heard_player {
    const char *name, *title;
    const char* keys; // that play middle C and the D above it, in turns
    ear* heard_by;
    test_support::virtual_display::window window = 0;
    std::vector<std::vector<double>> seconds = {}; // of each group of presses
    int lost = 0;
};

inline bool press_and_hear(heard_player& p, typed_keys& keys, std::mt19937& random, int turn) {
    std::uniform_int_distribution<int> pause(20'000, 40'000);
    if (!p.heard_by->wait_for_silence()) return false;
    std::this_thread::sleep_for(std::chrono::microseconds(
        pause(random))); // handled, whatever the focus brings; at any time of a cycle
    p.heard_by->begin();
    const auto begin = ear::clock::now();
    keys.press(turn, true, p.keys);
    const auto end = p.heard_by->wait();
    keys.press(turn, false, p.keys);
    std::this_thread::sleep_for(std::chrono::milliseconds(15)); // or another window gets the release
    if (end) p.seconds.back().push_back(std::chrono::duration<double>(*end - begin).count());
    return end.has_value();
}

// The players take turns with every press: while one sounds, the note of another dies away. False, with a
// line, when one is not heard.
inline bool measure(std::vector<heard_player>& players, test_support::virtual_display& display, int groups,
                    int presses_a_group) {
    typed_keys keys(display.name());
    std::mt19937 random(1);
    const auto turn_to = [&](heard_player& p, int turn) {
        p.heard_by->wait_for_silence();
        display.focus(p.window);
        return press_and_hear(p, keys, random, turn);
    };
    for (heard_player& p : players) {
        p.window = display.find_window(p.title);
        p.seconds.emplace_back();
        bool is_heard = false;
        for (int tries = 0; p.window && !is_heard && tries < 20; ++tries)
            is_heard = turn_to(p, tries);
        if (!is_heard) {
            std::printf("%s is not heard\n", p.name);
            return false;
        }
        p.seconds.clear();
    }
    for (int press = 0; press < groups * presses_a_group; ++press)
        for (std::size_t turn = 0; turn < players.size(); ++turn) {
            heard_player& p = players[(std::size_t(press) + turn) % players.size()];
            if (press % presses_a_group == 0) p.seconds.emplace_back();
            if (!turn_to(p, press) && ++p.lost > groups * presses_a_group / 50) {
                std::printf("%s: too many notes are not heard\n", p.name);
                return false;
            }
        }
    for (const heard_player& p : players) {
        std::vector<double> all;
        for (const std::vector<double>& group : p.seconds)
            all.insert(all.end(), group.begin(), group.end());
        std::printf("%-30s p50 %.2f ms, p99 %.2f ms, %zu presses, %d not heard\n", p.name,
                    quantile(all, 0.5) * 1e3, quantile(all, 0.99) * 1e3, all.size(), p.lost);
    }
    return true;
}

// The first player is ours, the others are peers, but the last one if it is the limit.
inline void report_sound_latency(const std::string& where, const std::vector<heard_player>& players,
                                 const heard_player* limit, double most_over_limit) {
    for (const auto& [name, part] : {std::pair{"p50", 0.5}, {"p99", 0.99}}) {
        const auto quantiles = [part = part](const heard_player& p) {
            std::vector<double> each;
            for (const std::vector<double>& group : p.seconds)
                each.push_back(quantile(group, part));
            return each;
        };
        const std::vector<double> ours = quantiles(players[0]);
        for (std::size_t i = 1; i < players.size(); ++i) {
            result made("key to sound on " + where + ", " + name);
            made.ours = ours;
            if (&players[i] != limit) {
                made.peer = quantiles(players[i]);
                made.peer_name = players[i].name;
                made.most_ratio = 1;
                if (limit) made.limit = {"system", median(quantiles(*limit))};
            } else {
                made.what += ", beyond a click";
                const std::vector<double> click = quantiles(*limit);
                for (std::size_t group = 0; group < click.size(); ++group)
                    made.ours[group] -= click[group];
                made.most = most_over_limit;
            }
            report(made);
        }
    }
    for (const heard_player& p : players) {
        distribution heard{"key to sound on " + where, p.name, {}};
        for (const std::vector<double>& group : p.seconds)
            heard.seconds.insert(heard.seconds.end(), group.begin(), group.end());
        report(heard);
    }
}

// VMPK with its built-in FluidSynth: on this sound system, with buffers as ours, and without a reverb that
// would sound for seconds.
inline void write_vmpk_settings(const test_support::temporary_directory& directory, const char* driver,
                                int frames) {
    std::filesystem::create_directory(directory.path() / "vmpk.sourceforge.net");
    directory.write(
        "vmpk.sourceforge.net/VMPK.conf",
        std::string("[Connections]\nInEnabled=false\nOutputDriver=FluidSynth\nOutPort=FluidSynth\n"
                    "[FluidSynth]\nSampleRate=48000\nPeriods=2\nReverb=0\nChorus=0\n"
                    "AudioDriver=") +
            driver + "\nPeriodSize=" + std::to_string(frames) + "\nGain=" + gain +
            "\nInstrumentsDefinition=" + soundfont +
            "\n[Preferences]\nEnableKeyboardInput=true\nBaseOctave=4\nVelocity=64\n");
}

} // namespace benchmarks
