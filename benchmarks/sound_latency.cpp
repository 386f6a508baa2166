// The time from a key press to the first sample of its note at a JACK server: of the built-in synthesizer, of
// jack-keyboard with a separate FluidSynth, of VMPK with its own FluidSynth, and of a JACK client that only
// clicks on a key event, which is the limit.

#include "sound_latency.h"
#include "priority.h"

#include "support/jack_server.h"
#include "support/process.h"
#include "support/temporary_directory.h"

#include <cstring>
#include <jack/jack.h>

namespace {

using namespace benchmarks;
using test_support::jack_server;

constexpr int groups = 4, presses_a_group = 50; // 200 presses of each program
constexpr int frames = 64;                      // in a cycle of the server: 1.3 ms
constexpr double period = double(frames) / ear::rate;
constexpr double most_over_limit = 2 * period + 0.002;

// Listens where the loudspeakers would be.
class jack_ears {
public:
    explicit jack_ears(std::size_t count) : ears_(count) {
        client_ = jack_client_open("key-ears", JackNoStartServer, nullptr);
        if (!client_) return;
        for (std::size_t i = 0; i < count; ++i)
            ports_.push_back(jack_port_register(client_, ("in" + std::to_string(i)).c_str(),
                                                JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0));
        jack_set_process_callback(
            client_,
            [](jack_nframes_t length, void* self) {
                auto& all = *static_cast<jack_ears*>(self);
                for (std::size_t i = 0; i < all.ears_.size(); ++i)
                    all.ears_[i].hear(static_cast<float*>(jack_port_get_buffer(all.ports_[i], length)),
                                      length);
                return 0;
            },
            this);
        jack_activate(client_);
    }
    ~jack_ears() {
        if (client_) jack_client_close(client_);
    }
    jack_ears(const jack_ears&) = delete;
    jack_ears& operator=(const jack_ears&) = delete;

    bool works() const { return client_; }
    // Hears this port from here on.
    ear* listen_to(std::size_t which, const std::string& port) {
        jack_server::until(
            [&] { return jack_connect(client_, port.c_str(), jack_port_name(ports_[which])) == 0; });
        return &ears_[which];
    }

private:
    std::vector<ear> ears_;
    jack_client_t* client_ = nullptr;
    std::vector<jack_port_t*> ports_;
};

// Clicks in the next cycle.
class clicker {
public:
    clicker() {
        client_ = jack_client_open("key-click", JackNoStartServer, nullptr);
        if (!client_) return;
        port_ = jack_port_register(client_, "out", JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput, 0);
        jack_set_process_callback(
            client_,
            [](jack_nframes_t count, void* self) {
                auto& click = *static_cast<clicker*>(self);
                auto* const samples = static_cast<float*>(jack_port_get_buffer(click.port_, count));
                std::memset(samples, 0, count * sizeof *samples);
                if (click.pressed_.exchange(false)) samples[0] = 1;
                return 0;
            },
            this);
        jack_activate(client_);
    }
    ~clicker() {
        if (client_) jack_client_close(client_);
    }
    clicker(const clicker&) = delete;
    clicker& operator=(const clicker&) = delete;
    void click() { pressed_ = true; }

private:
    jack_client_t* client_ = nullptr;
    jack_port_t* port_ = nullptr;
    std::atomic<bool> pressed_ = false;
};

} // namespace

int main() {
    go_before_others(going_first::with_all_that_it_starts);
    const jack_server server(2, frames);
    const test_support::temporary_directory directory;
    test_support::virtual_display display;
    jack_ears ears(4);
    if (!server.runs() || !ears.works()) {
        std::printf("There is no JACK server.\n");
        return 1;
    }
    write_vmpk_settings(directory, "jack", frames);
    const test_support::process_options options = {
        {{"DISPLAY", display.name()}, {"XDG_CONFIG_HOME", directory.path()}}, directory.path()};
    test_support::process ours(
        {QUENVAREL_BIN "/quenvarel", "-l", "64", std::string("--soundfont=") + soundfont, "FluidSynth"},
        options);
    test_support::process synthesizer({"fluidsynth", "-g", gain, "-r", "48000", "-i", "-s", "-q", "-a",
                                       "jack", "-m", "jack", "-o", "audio.jack.id=separate", "-o",
                                       "midi.jack.id=separate", "-o", "midi.autoconnect=0", soundfont},
                                      options);
    jack_server::until_port("separate:midi_00");
    // At its fastest: without the offset that evens out its delays.
    test_support::process keyboard({"jack-keyboard", "-t", "-a", "separate:midi_00"}, options);
    test_support::process vmpk({"vmpk"}, options);
    clicker limit;
    const key_window window(display.name(), "key-click", [&] { limit.click(); });
    std::vector<heard_player> players = {
        {"quenvarel", "Quenvarel(TM) for MIDI Version 2.2.0", "qwqw", ears.listen_to(0, "quenvarel:left")},
        {"jack-keyboard, FluidSynth", "jack-keyboard", "zxzx", ears.listen_to(1, "separate:left")},
        {"VMPK", "Virtual MIDI Piano Keyboard", "zxzx", ears.listen_to(2, "fluidsynth:left")},
        {"click", "key-click", "zxzx", ears.listen_to(3, "key-click:out")},
    };
    if (!measure(players, display, groups, presses_a_group)) return 1;
    report_sound_latency("JACK", players, &players.back(), most_over_limit);
}
