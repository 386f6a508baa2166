// "FluidSynth" on sound systems that stop, vanish and come back: a JACK and a PulseAudio server of its own.

#include "midi/drivers/fluidsynth_outputs.h"
#include "midi/midi_out.h"
#include "midi/senders.h"
#include "support/capture.h"
#include "support/jack_server.h"
#include "support/pattern.h"

#include <gtest/gtest.h>
#include <optional>

namespace {

using namespace test_support;

class pulse_server {
public:
    pulse_server() {
        for (const char* variable : {"XDG_RUNTIME_DIR", "PULSE_RUNTIME_PATH", "XDG_CONFIG_HOME"})
            setenv(variable, directory_.path().c_str(), 1);
    }
    bool start(const std::string& sink = "module-null-sink sink_name=ears") {
        std::vector<std::string> command = {"pulseaudio",
                                            "-n",
                                            "--daemonize=no",
                                            "--use-pid-file=no",
                                            "--exit-idle-time=-1",
                                            "-L",
                                            "module-native-protocol-unix"};
        if (!sink.empty()) command.insert(command.end(), {"-L", sink});
        server_.emplace(command);
        return jack_server::until([] { return run({"pactl", "info"}).exit_code == 0; });
    }
    void signal(int number) { server_->send_signal(number); }

private:
    const temporary_directory directory_;
    std::optional<process> server_;
};

// Plays until something comes out of the server.
bool is_heard(midi::midi_out_t& port) {
    process ears({"parec", "--device=ears.monitor", "--raw"});
    return jack_server::until([&] {
        EXPECT_TRUE(midi::noteon(port, 1, 69, 127));
        return ears.out().find_first_not_of('\0') != std::string::npos;
    });
}

// Much longer than what is promised, and much shorter than such a system keeps its callers.
template <class Action>
bool takes_seconds(Action action) {
    const auto begin = std::chrono::steady_clock::now();
    action();
    return std::chrono::steady_clock::now() - begin < std::chrono::seconds(10);
}

const std::string no_way = "^FluidSynth: no way to the loudspeakers: ",
                  no_device = "\\.\nDeviceID=0: can't open MIDI device\\.\n$";

TEST(speakers, are_heard_whatever_becomes_of_the_sound_systems) {
    pulse_server pulse;
    jack_server jack(2);
    ASSERT_TRUE(jack.runs() && pulse.start());
    midi::fluidsynth_outputs service;
    midi::midi_out_t port(service);
    capture out(std::cout), err(std::cerr);
    ASSERT_TRUE(port.open(0u));
    EXPECT_TRUE(jack_server::until_port("quenvarel:left"));
    jack.freeze();
    EXPECT_TRUE(is_heard(port)) << "instead of JACK";
    pulse.signal(SIGTERM);
    ASSERT_TRUE(pulse.start());
    EXPECT_TRUE(is_heard(port)) << "after a restart";
    EXPECT_TRUE(takes_seconds([&] { EXPECT_TRUE(port.close() && port.open(0u)); }));
    EXPECT_TRUE(is_heard(port) && port.close());
    EXPECT_EQ(err.take(), "FluidSynth: jack does not answer.\n");

    pulse.signal(SIGSTOP);
    EXPECT_TRUE(takes_seconds([&] { EXPECT_FALSE(port.open(0u)); }));
    EXPECT_TRUE(
        matches(err.text(), no_way +
                                "jack \\(no answer\\), pipewire \\([^)]+\\), pulseaudio \\(no answer\\), "
                                "alsa \\([^)]+\\)" +
                                no_device))
        << err.text();
    jack.thaw();
    jack.stop();
    pulse.signal(SIGKILL);
    ASSERT_TRUE(pulse.start(""));
    err.take();
    EXPECT_TRUE(takes_seconds([&] { EXPECT_FALSE(port.open(0u)); }));
    EXPECT_TRUE(matches(err.text(), no_way +
                                        "jack \\(no server\\), pipewire \\([^)]+\\), "
                                        "pulseaudio \\(No such entity\\), alsa \\([^)]+\\)" +
                                        no_device))
        << err.text() << "a server without a sink";
}

} // namespace
