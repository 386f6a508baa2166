#include "midi/drivers/jack_watch.h"

#include "midi/drivers/quiet.h"

#include <algorithm>
#include <chrono>
#include <jack/jack.h>
#include <thread>

namespace midi {

namespace {

// Half of the sender's buffer, and what it adds to each message.
constexpr std::size_t most_waiting = 8000, overhead = 4;
// Longer than two cycles of the longest period, 8192 frames at 44.1 kHz.
constexpr std::chrono::milliseconds patience{500};

jack_client_t* open_client(const char* name) {
    quiet_sound_libraries();
    return jack_client_open(name, JackNoStartServer, nullptr);
}

std::vector<std::string> to_strings(const char** names) {
    std::vector<std::string> strings;
    for (const char** name = names; name && *name; ++name)
        strings.emplace_back(*name);
    jack_free(names);
    return strings;
}

std::vector<std::string> midi_ports(jack_client_t* client, jack_direction direction) {
    const unsigned long flag = direction == jack_direction::to_port ? JackPortIsInput : JackPortIsOutput;
    return to_strings(jack_get_ports(client, nullptr, JACK_DEFAULT_MIDI_TYPE, flag));
}

// False when the condition does not come true in time.
template <class Condition>
bool wait_until(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

bool contains(const std::vector<std::string>& strings, const std::string& string) {
    return std::find(strings.begin(), strings.end(), string) != strings.end();
}

} // namespace

bool jack_server_runs() {
    return jack_midi_ports(jack_direction::to_port).has_value();
}

std::optional<std::vector<std::string>> jack_midi_ports(jack_direction direction) {
    jack_client_t* client = open_client("quenvarel-list");
    if (!client) return std::nullopt;
    std::vector<std::string> names = midi_ports(client, direction);
    jack_client_close(client);
    return names;
}

std::unique_ptr<jack_watch> jack_watch::start() {
    std::unique_ptr<jack_watch> watch(new jack_watch);
    watch->client_ = open_client("quenvarel-watch");
    if (!watch->client_) return nullptr;
    jack_on_shutdown(watch->client_, shut_down, watch.get());
    jack_set_process_callback(watch->client_, cycle, watch.get());
    watch->ports_before_ = midi_ports(watch->client_, jack_direction::from_port);
    return watch;
}

jack_watch::~jack_watch() {
    if (client_) jack_client_close(client_);
}

int jack_watch::cycle(std::uint32_t, void* watch) {
    static_cast<jack_watch*>(watch)->cycles_.fetch_add(1, std::memory_order_relaxed);
    return 0;
}

void jack_watch::shut_down(void* watch) {
    static_cast<jack_watch*>(watch)->gone_ = true;
}

bool jack_watch::see_port(const std::string& name) {
    for (const std::string& source : midi_ports(client_, jack_direction::from_port)) {
        if (!source.ends_with(":" + name) || contains(ports_before_, source)) continue;
        port_ = source;
        return true;
    }
    return false;
}

bool jack_watch::find_port(const std::string& name) {
    return jack_activate(client_) == 0 && wait_until([&] { return see_port(name); });
}

bool jack_watch::connect(const std::string& peer) {
    if (!jack_port_by_name(client_, peer.c_str())) return false;
    jack_connect(client_, port_.c_str(), peer.c_str()); // fails, too, when somebody else was faster
    return wait_until([&] {
        const jack_port_t* port = jack_port_by_name(client_, port_.c_str());
        return port && contains(to_strings(jack_port_get_all_connections(client_, port)), peer);
    });
}

bool jack_watch::admit(std::size_t bytes) {
    if (gone_) return false;
    // What was handed over before the last whole cycle has left. The first cycle seen may have begun before
    // it.
    const std::uint32_t cycles = cycles_.load(std::memory_order_relaxed);
    if (cycles - cycles_before_ >= 2) {
        cycles_before_ = cycles;
        waiting_ = 0;
        stalled_ = false;
    }
    const std::size_t added = bytes + overhead;
    if (waiting_ + added > most_waiting) {
        stalled_ = stalled_ || !wait_for_cycles();
        if (stalled_) return false;
        waiting_ = 0;
    }
    // A server that lives on may have thrown the sender out.
    unchecked_ += added;
    if (unchecked_ > most_waiting / 2) {
        if (!jack_port_by_name(client_, port_.c_str())) return false;
        unchecked_ = 0;
    }
    waiting_ += added;
    return true;
}

bool jack_watch::wait_for_cycles() {
    const std::uint32_t before = cycles_.load(std::memory_order_relaxed);
    const auto two_later = [&] { return cycles_.load(std::memory_order_relaxed) - before >= 2; };
    if (!wait_until([&] { return gone_ || two_later(); }) || gone_) return false;
    cycles_before_ = cycles_.load(std::memory_order_relaxed);
    return true;
}

} // namespace midi
