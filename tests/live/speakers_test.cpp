// "FluidSynth" on sound systems that stop, vanish and come back: a JACK and a PulseAudio server of its own.

#include "midi/drivers/fluidsynth_outputs.h"
#include "midi/midi_out.h"
#include "midi/senders.h"
#include "support/capture.h"
#include "support/jack_server.h"
#include "support/pattern.h"

#include <atomic>
#include <gtest/gtest.h>
#include <jack/jack.h>
#include <optional>
#include <thread>

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

// A busy server may answer too late, and is left for another system then.
bool opens_on_jack(midi::midi_out_t& port) {
    return jack_server::until([&] {
        return port.close() && port.open(0u) &&
               run({"jack_lsp"}).out.find("quenvarel:left\n") != std::string::npos;
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
    ASSERT_TRUE(opens_on_jack(port));
    jack.freeze();
    EXPECT_TRUE(is_heard(port)) << "instead of JACK";
    pulse.signal(SIGTERM);
    ASSERT_TRUE(pulse.start());
    EXPECT_TRUE(is_heard(port)) << "after a restart";
    EXPECT_TRUE(takes_seconds([&] { EXPECT_TRUE(port.close() && port.open(0u)); }));
    EXPECT_TRUE(is_heard(port) && port.close());
    // A busy machine may have drop-outs of its own.
    EXPECT_TRUE(matches(err.take(), "(^|\n)FluidSynth: jack does not answer\\.\n"));

    pulse.signal(SIGSTOP);
    EXPECT_TRUE(takes_seconds([&] { EXPECT_FALSE(port.open(0u)); }));
    EXPECT_TRUE(
        matches(err.text(), no_way +
                                "jack \\(no answer\\), pipewire \\(.+\\), pulseaudio \\(no answer\\), "
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
                                        "jack \\(no server\\), pipewire \\(.+\\), "
                                        "pulseaudio \\(No such entity\\), alsa \\([^)]+\\)" +
                                        no_device))
        << err.text() << "a server without a sink";
}

// A program on JACK that could be played to, and holds up the others, as often as it is told.
class staller {
public:
    staller() {
        jack_port_register(client_, "in", JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
        jack_set_process_callback(
            client_,
            [](jack_nframes_t, void* self) {
                if (static_cast<staller*>(self)->stalls_.exchange(false))
                    std::this_thread::sleep_for(std::chrono::milliseconds(30));
                return 0;
            },
            this);
        jack_activate(client_);
    }
    ~staller() { jack_client_close(client_); }
    void stall() { stalls_ = true; }

private:
    jack_client_t* const client_ = jack_client_open("staller", JackNoStartServer, nullptr);
    std::atomic<bool> stalls_{false};
};

// Has drop-outs until there is a line about them.
template <class Action>
bool is_told_of(const std::string& line, capture& err, Action drop_out) {
    return jack_server::until([&] {
        drop_out();
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        return err.text().find("FluidSynth: drop-outs on " + line) != std::string::npos;
    });
}

TEST(speakers, buffers_grow_when_there_are_drop_outs) {
    pulse_server pulse;
    ASSERT_TRUE(pulse.start());
    midi::fluidsynth_outputs service;
    midi::midi_out_t port(service);
    capture out(std::cout), err(std::cerr);
    {
        jack_server jack(2, 64);
        staller other;
        ASSERT_TRUE(jack.runs() && opens_on_jack(port));
        EXPECT_TRUE(is_told_of("jack, whose period is 64 frames: \"jack_bufsize 128\" makes it longer.\n",
                               err, [&] { other.stall(); }))
            << err.text();
        EXPECT_TRUE(port.close());
    }
    const no_jack_server only_pulse;
    err.take();
    ASSERT_TRUE(port.open(0u));
    EXPECT_TRUE(is_heard(port));
    const auto drop_out = [&] {
        pulse.signal(SIGSTOP);
        std::this_thread::sleep_for(std::chrono::milliseconds(60));
        pulse.signal(SIGCONT);
    };
    EXPECT_TRUE(is_told_of("pulseaudio: its buffer grows to 512 frames.\n", err, drop_out));
    EXPECT_TRUE(is_told_of("pulseaudio: its buffer grows to 2048 frames.\n", err, drop_out));
    EXPECT_TRUE(is_heard(port) && port.close());
}

TEST(speakers, a_jack_server_that_plays_nothing_is_passed_over) {
    pulse_server pulse;
    jack_server jack(0);
    const staller no_loudspeaker;
    ASSERT_TRUE(jack.runs() && pulse.start());
    midi::fluidsynth_outputs service;
    midi::midi_out_t port(service);
    capture out(std::cout), err(std::cerr);
    // A busy server answers too late now and then.
    EXPECT_TRUE(jack_server::until([&] {
        return port.close() && port.open(0u) && err.take() == "FluidSynth: jack has no playback ports.\n";
    }));
    EXPECT_TRUE(is_heard(port) && port.close());
}

} // namespace
