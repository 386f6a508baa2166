// The time from a key press to the first sample of its note at a PulseAudio server: of the built-in
// synthesizer and of VMPK with its own FluidSynth, each with the buffer that it chooses. Each has a null sink
// of its own, whose monitor is recorded.

#include "priority.h"
#include "sound_latency.h"

#include "support/jack_server.h"
#include "support/process.h"
#include "support/temporary_directory.h"

#include <pulse/simple.h>

namespace {

using namespace benchmarks;

constexpr int groups = 4, presses_a_group = 50; // 200 presses of each program
constexpr int vmpk_buffer = 512;                // frames, as it comes

// Records what a sink plays.
class pulse_ear {
public:
    explicit pulse_ear(const std::string& sink) {
        const pa_sample_spec format = {PA_SAMPLE_FLOAT32NE, ear::rate, 1};
        constexpr auto none = std::uint32_t(-1);
        const pa_buffer_attr buffer = {none, none, none, none, sizeof samples_};
        stream_ = pa_simple_new(nullptr, "ears", PA_STREAM_RECORD, (sink + ".monitor").c_str(), "ears",
                                &format, nullptr, &buffer, nullptr);
        if (!stream_) return;
        thread_ = std::thread([this] {
            while (!ended_ && pa_simple_read(stream_, samples_, sizeof samples_, nullptr) == 0)
                ear_.hear(samples_, std::size(samples_));
        });
    }
    ~pulse_ear() {
        ended_ = true;
        if (thread_.joinable()) thread_.join();
        if (stream_) pa_simple_free(stream_);
    }
    pulse_ear(const pulse_ear&) = delete;
    pulse_ear& operator=(const pulse_ear&) = delete;
    bool works() const { return stream_; }
    ear* hears() { return &ear_; }

private:
    float samples_[64];
    ear ear_;
    pa_simple* stream_ = nullptr;
    std::atomic<bool> ended_ = false;
    std::thread thread_;
};

} // namespace

int main() {
    go_before_others(going_first::with_all_that_it_starts);
    const test_support::no_jack_server no_jack;
    const test_support::temporary_directory directory, settings;
    for (const char* variable : {"XDG_RUNTIME_DIR", "PULSE_RUNTIME_PATH"})
        setenv(variable, directory.path().c_str(), 1);
    test_support::process server({"pulseaudio", "-n", "--daemonize=no", "--use-pid-file=no",
                                  "--exit-idle-time=-1", "-L", "module-native-protocol-unix", "-L",
                                  "module-null-sink sink_name=ours", "-L", "module-null-sink sink_name=peer"},
                                 {{{"XDG_CONFIG_HOME", directory.path()}}, {}});
    const bool runs = test_support::jack_server::until([] {
        return test_support::run({"pactl", "info"}).exit_code == 0;
    });
    pulse_ear ours_heard("ours"), peer_heard("peer");
    if (!runs || !ours_heard.works() || !peer_heard.works()) {
        std::printf("There is no PulseAudio server.\n");
        return 1;
    }
    write_vmpk_settings(settings, "pulseaudio", vmpk_buffer);
    test_support::virtual_display display;
    const auto playing_to = [&](const char* sink) {
        return test_support::process_options{
            {{"DISPLAY", display.name()}, {"PULSE_SINK", sink}, {"XDG_CONFIG_HOME", settings.path()}},
            directory.path()};
    };
    test_support::process ours(
        {QUENVAREL_BIN "/quenvarel", "-l", "64", std::string("--soundfont=") + soundfont, "FluidSynth"},
        playing_to("ours"));
    test_support::process vmpk({"vmpk"}, playing_to("peer"));
    std::vector<heard_player> players = {
        {"quenvarel", "Quenvarel(TM) for MIDI Version 2.2.0", "qwqw", ours_heard.hears()},
        {"VMPK", "Virtual MIDI Piano Keyboard", "zxzx", peer_heard.hears()},
    };
    if (!measure(players, display, groups, presses_a_group)) return 1;
    const std::string grown = ours.err();
    if (const auto at = grown.rfind("FluidSynth: drop-outs"); at != std::string::npos)
        std::printf("%s", grown.substr(at, grown.find('\n', at) + 1 - at).c_str());
    report_sound_latency("PulseAudio", players, nullptr, 0);
}
