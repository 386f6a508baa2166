// The time from a MIDI event at an input of the player to the same event at its output, over JACK, beside a
// client that does nothing but copy from port to port, in the same run: with a picture at rest, and while
// every event changes it. Times are JACK's own: from the event to the end of the cycle in which it is heard.

#include "priority.h"
#include "report.h"

#include "live/player_under_test.h"
#include "live/virtual_display.h"
#include "support/jack_server.h"
#include "support/process.h"
#include "support/temporary_directory.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <jack/jack.h>
#include <jack/midiport.h>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int groups = 10, events_a_group = 200;
constexpr jack_nframes_t frames = 64; // in a cycle: 1.3 ms
constexpr double rate = 48000;
constexpr std::uint32_t nothing = 0xFFFFFFFF;

class client {
public:
    explicit client(const char* name) : client_(jack_client_open(name, JackNoStartServer, nullptr)) {
        if (client_)
            jack_set_process_callback(
                client_,
                [](jack_nframes_t, void* self) {
                    static_cast<client*>(self)->cycle();
                    return 0;
                },
                this);
    }
    virtual ~client() = default;
    client(const client&) = delete;
    client& operator=(const client&) = delete;

    explicit operator bool() const { return client_ != nullptr; }
    void activate() { jack_activate(client_); }
    void close() {
        if (client_) jack_client_close(client_);
    }

protected:
    jack_port_t* add(const char* name, unsigned long direction) {
        return jack_port_register(client_, name, JACK_DEFAULT_MIDI_TYPE, direction, 0);
    }
    jack_nframes_t now() const { return jack_last_frame_time(client_); }
    virtual void cycle() = 0;

private:
    jack_client_t* client_;
};

// Sends the message that it is given in the next cycle.
class sender : public client {
public:
    sender() : client("through-sender") {
        if (*this) out_ = add("out", JackPortIsOutput);
    }
    // The time at which it went; nothing when no cycle came.
    jack_nframes_t send(std::uint32_t message) {
        message_ = message;
        for (int i = 0; i < 2000 && message_ != nothing; ++i)
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        return message_ == nothing ? jack_nframes_t(sent_) : nothing;
    }

private:
    void cycle() override {
        void* const buffer = jack_port_get_buffer(out_, frames);
        jack_midi_clear_buffer(buffer);
        const std::uint32_t message = message_;
        if (message == nothing) return;
        const jack_midi_data_t bytes[] = {jack_midi_data_t(message), jack_midi_data_t(message >> 8),
                                          jack_midi_data_t(message >> 16)};
        jack_midi_event_write(buffer, 0, bytes, sizeof bytes);
        sent_ = now();
        message_ = nothing;
    }

    jack_port_t* out_ = nullptr;
    std::atomic<std::uint32_t> message_ = nothing, sent_ = 0;
};

class copier : public client {
public:
    copier() : client("through-copy") {
        if (!*this) return;
        in_ = add("in", JackPortIsInput);
        out_ = add("out", JackPortIsOutput);
    }

private:
    void cycle() override {
        void *const from = jack_port_get_buffer(in_, frames), *const to = jack_port_get_buffer(out_, frames);
        jack_midi_clear_buffer(to);
        jack_midi_event_t event;
        for (std::uint32_t i = 0; jack_midi_event_get(&event, from, i) == 0; ++i)
            jack_midi_event_write(to, event.time, event.buffer, event.size);
    }

    jack_port_t *in_ = nullptr, *out_ = nullptr;
};

// Remembers when the message that is awaited is heard, at each of two ports.
class receiver : public client {
public:
    receiver() : client("through-receiver") {
        if (!*this) return;
        ports_ = {add("player", JackPortIsInput), add("copy", JackPortIsInput)};
    }
    void await(std::uint32_t message) {
        heard_[0] = heard_[1] = nothing;
        awaited_ = message;
    }
    jack_nframes_t heard(std::size_t port) const { return heard_[port]; }

private:
    void cycle() override {
        for (std::size_t port = 0; port < ports_.size(); ++port) {
            void* const buffer = jack_port_get_buffer(ports_[port], frames);
            jack_midi_event_t event;
            for (std::uint32_t i = 0; jack_midi_event_get(&event, buffer, i) == 0; ++i)
                if (event.size == 3 && (event.buffer[0] | std::uint32_t{event.buffer[1]} << 8 |
                                        std::uint32_t{event.buffer[2]} << 16) == awaited_)
                    heard_[port] = now() + frames;
        }
    }

    std::array<jack_port_t*, 2> ports_{};
    std::atomic<std::uint32_t> awaited_ = nothing;
    std::array<std::atomic<std::uint32_t>, 2> heard_{};
};

struct times_t {
    std::vector<std::vector<double>> ours, peer;
    int lost = 0;
};

// One event, at a random moment after the one before.
void measure(sender& from, receiver& to, std::uint32_t message, times_t& times, std::mt19937& random) {
    std::uniform_int_distribution<int> pause(1000, 9000);
    std::this_thread::sleep_for(std::chrono::microseconds(pause(random)));
    to.await(message);
    const jack_nframes_t sent = from.send(message);
    for (int i = 0; i < 5000 && (to.heard(0) == nothing || to.heard(1) == nothing); ++i)
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    // On a busy machine the server drops late events.
    if (sent == nothing || to.heard(0) == nothing || to.heard(1) == nothing) {
        ++times.lost;
        return;
    }
    times.ours.back().push_back((to.heard(0) - sent) / rate);
    times.peer.back().push_back((to.heard(1) - sent) / rate);
}

} // namespace

int main() {
    benchmarks::go_before_others(benchmarks::going_first::with_all_that_it_starts);
    const test_support::jack_server server(0, frames);
    const test_support::temporary_directory directory;
    test_support::virtual_display display;
    sender from;
    copier copy;
    receiver to;
    if (!server.runs() || !from || !copy || !to) {
        std::printf("There is no JACK server.\n");
        return 1;
    }
    from.activate();
    copy.activate();
    to.activate();
    test_support::process player(
        {QUENVAREL_BIN "/quenvarel", "--input=through-sender:out", "through-receiver:player"},
        {{{"DISPLAY", display.name()}}, directory.path()});
    test_support::run({"jack_connect", "through-sender:out", "through-copy:in"});
    test_support::run({"jack_connect", "through-copy:out", "through-receiver:copy"});
    if (!display.find_window(test_support::window_title)) {
        std::printf("The player does not come: %s\n", player.err().c_str());
        return 1;
    }
    std::mt19937 random(1);
    for (const bool draws : {false, true}) {
        times_t times{{{}}, {{}}, 0};
        for (int i = 0; i < 50; ++i) // until everything is there and has been used
            measure(from, to, 0x000BB0u | std::uint32_t(i) << 16, times, random);
        times = {};
        for (int group = 0; group < groups; ++group) {
            times.ours.emplace_back();
            times.peer.emplace_back();
            for (int i = 0; i < events_a_group; ++i) {
                // An expression pedal, or a run over the keyboard.
                const std::uint32_t note = 30 + std::uint32_t(i) / 2 % 60;
                measure(from, to,
                        draws ? 0x000090u | note << 8 | (i % 2 ? 0 : 0x640000u)
                              : 0x000BB0u | std::uint32_t(i % 128) << 16,
                        times, random);
            }
        }
        const char* const condition = draws ? "while drawing" : "picture at rest";
        if (times.lost > groups * events_a_group / 20 || times.ours.front().empty()) {
            std::printf("%s: too many events do not arrive\n", condition);
            return 1;
        }
        if (times.lost > 0) std::printf("%s: %d events did not arrive\n", condition, times.lost);
        for (const auto& [name, part] : {std::pair{"p50", 0.5}, {"p99", 0.99}}) {
            benchmarks::result made(std::string("MIDI in to JACK event, ") + condition + ", " + name);
            made.peer_name = "port to port";
            made.limit = {"system", frames / rate};
            for (std::size_t group = 0; group < groups; ++group) {
                made.ours.push_back(benchmarks::quantile(times.ours[group], part));
                made.peer.push_back(benchmarks::quantile(times.peer[group], part));
            }
            made.most = benchmarks::median(made.peer) + frames / rate; // a period of the server more
            benchmarks::report(made);
        }
    }
    for (client* each : {static_cast<client*>(&from), static_cast<client*>(&copy), static_cast<client*>(&to)})
        each->close();
}
