// The ports against a real JACK server, with jack_midi_dump and jack_rec as receivers that are not ours.

#include "midi/drivers/ports.h"
#include "midi/midi_out.h"
#include "midi/port_choice.h"
#include "midi/senders.h"
#include "midi/system.h"
#include "support/capture.h"
#include "support/jack_server.h"
#include "support/pattern.h"
#include "support/sound.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <gtest/gtest.h>
#include <regex>
#include <sys/socket.h>
#include <sys/un.h>

namespace {

using namespace test_support;

// The bytes of each message in what jack_midi_dump wrote: "  60352: 91 45 7f note on ...".
std::string dumped(process& dump) {
    static const std::regex line("[^:\n]*:((?: [0-9a-f]{2}\\b)*)[^\n]*\n");
    return std::regex_replace(dump.out(), line, "$1;");
}

// A JACK server of its own, and a port of ours. What is written to the standard streams is kept.
class midi_jack : public testing::Test {
protected:
    // jack_midi_dump, once its port is there.
    static std::unique_ptr<process> monitor(const std::string& its_port = "midi-monitor:input") {
        auto dump = std::make_unique<process>(std::vector<std::string>{"jack_midi_dump", "-a"});
        EXPECT_TRUE(jack_server::until_port(its_port));
        return dump;
    }
    static void stop(process& program) {
        program.send_signal(SIGINT);
        program.wait();
    }
    // As a server that lives ends a client: its connection with this process is cut.
    static void throw_out() {
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            const int descriptor = std::stoi(entry.path().filename());
            sockaddr_un peer{};
            socklen_t size = sizeof peer;
            if (getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) == 0 &&
                std::string(peer.sun_path).find("jack_") != std::string::npos)
                shutdown(descriptor, SHUT_RDWR);
        }
    }
    bool plays(int note) { return midi::noteon(port, 1, note, 100); }
    bool plays_soon(int note) {
        return jack_server::until([&] { return plays(note); });
    }
    // Again and again: what comes late on a busy machine is dropped, and a new client misses its first
    // cycles.
    static bool is_heard(midi::midi_out_t& from, int channel, int note, process& dump) {
        char text[16];
        std::snprintf(text, sizeof text, ": 9%x %02x 64", channel, note);
        return jack_server::until([&] {
            return midi::noteon(from, channel, note, 100) && dump.wait_for_out(text, std::chrono::seconds(1));
        });
    }
    bool is_heard(int note, process& dump) { return is_heard(port, 1, note, dump); }
    bool fails_soon() {
        return jack_server::until([&] { return !plays(60); });
    }

    jack_server jack{2};
    capture out{std::cout}, err{std::cerr};
    midi::midi_out_t port{midi::system_outputs()};
};

TEST_F(midi_jack, another_program_receives_the_bytes) {
    auto dump = monitor();
    std::ostringstream listed;
    EXPECT_TRUE(midi::listdevices(listed, midi::system_outputs()));
    EXPECT_TRUE(matches(listed.str(), "^\noutput devices:\n0: midi-monitor:input\n[^$]*: Virtual port\n"
                                      "[0-9]+: FluidSynth\n[0-9]+: FluidSynth to WAV\n[0-9]+: MIDI file\n$"))
        << listed.str();
    ASSERT_TRUE(port.open("monitor"));
    EXPECT_EQ(jack.clients("quenvarel"), 1) << "one client for an instrument";
    const struct {
        std::vector<std::uint8_t> bytes; // four are a short message, more a long one
        std::size_t length;
        bool sent = true;
    } cases[] = {
        {{0x91, 60, 127, 0}, 3},
        {{0xC1, 5, 0, 0}, 2},
        {{0xF8, 0, 0, 0}, 1},
        {{0xF0, 1, 2, 0xF7}, 4},
        {{0x91, 200, 127, 0}, 3, false}, // no message
        {{0xF9, 0, 0, 0}, 1, false},     // undefined
        {{0xF0, 1, 0xF8, 2, 0xF9, 3, 0xF7}, 7},
        {{0xF0, 1, 2, 3, 4}, 5}, // a piece
        {{0xFE, 0, 0, 0}, 1},
        {{5, 6, 7, 8, 0xF7}, 5},
        {{0xF0, 1, 2, 3, 4}, 5}, // never ended
        {{0xEF, 0, 0x40, 0}, 3},
        {{5, 6, 7, 8, 0xF7}, 5},
        {{0xB1, 0x7B, 0, 0}, 3},
    };
    for (const auto& c : cases)
        EXPECT_EQ(port.putbuf(c.bytes.data(), c.length), c.sent);
    EXPECT_TRUE(port.close());
    ASSERT_TRUE(dump->wait_for_out(": b1 7b 00 ")) << "nothing is cut off at the end";
    ASSERT_TRUE(dump->wait_for_out("\n"));
    EXPECT_EQ(dumped(*dump), " 91 3c 7f; c1 05; f8; f0 01 02 f7; f8; f0 01 02 03 f7; fe; "
                             "f0 01 02 03 04 05 06 07 08 f7; ef 00 40; b1 7b 00;");
    EXPECT_EQ(jack.clients("quenvarel"), 0);
}

TEST_F(midi_jack, others_connect_to_the_virtual_port) {
    ASSERT_TRUE(port.open("Virtual port"));
    EXPECT_TRUE(plays(60)) << "nobody has to listen";
    auto dump = monitor();
    ASSERT_EQ(run({"jack_connect", "quenvarel:out", "midi-monitor:input"}).exit_code, 0);
    EXPECT_TRUE(is_heard(61, *dump));
}

TEST_F(midi_jack, a_port_that_comes_back_is_connected_again) {
    auto dump = monitor();
    ASSERT_TRUE(port.open("midi-monitor"));
    EXPECT_TRUE(is_heard(60, *dump));
    stop(*dump);
    EXPECT_TRUE(jack_server::until([&] { return !midi::noteoff(port, 1, 60); })) << "nobody hears it";
    dump = monitor();
    EXPECT_TRUE(is_heard(62, *dump));
    EXPECT_TRUE(dumped(*dump).starts_with(" b1 40 00; b1 7b 00;")) << "what was not heard is made up for";

    // What somebody disconnects stays so.
    EXPECT_EQ(run({"jack_disconnect", "quenvarel:out", "midi-monitor:input"}).exit_code, 0);
    auto another = monitor("midi-monitor-01:input");
    EXPECT_FALSE(plays(63));
}

TEST_F(midi_jack, a_client_that_is_thrown_out_joins_again) {
    auto dump = monitor();
    ASSERT_TRUE(port.open("midi-monitor"));
    throw_out();
    EXPECT_TRUE(fails_soon());
    EXPECT_TRUE(is_heard(61, *dump));
}

TEST_F(midi_jack, what_waited_while_the_server_stood_still_is_not_played_late) {
    auto dump = monitor();
    ASSERT_TRUE(port.open("midi-monitor"));
    jack.freeze();
    std::this_thread::sleep_for(std::chrono::milliseconds(50)); // a cycle may have been running
    EXPECT_TRUE(plays(61));
    EXPECT_TRUE(fails_soon());
    jack.thaw();
    EXPECT_TRUE(is_heard(63, *dump));
    EXPECT_TRUE(dumped(*dump).starts_with(" b1 40 00;")) << dump->out();
}

TEST_F(midi_jack, whatever_becomes_of_the_server_playing_and_leaving_go_on) {
    for (const auto& [device, freezes] : {std::pair<const char*, bool>{"midi-monitor", false},
                                          {"Virtual port", false},
                                          {"FluidSynth", false},
                                          {"midi-monitor", true},
                                          {"Virtual port", true}}) {
        SCOPED_TRACE(device + std::to_string(freezes));
        auto dump = monitor();
        ASSERT_TRUE(port.open(device));
        EXPECT_TRUE(plays(60));
        out.take();
        freezes ? jack.freeze() : jack.stop();
        const auto begin = std::chrono::steady_clock::now();
        for (int i = 0; i < 20000; ++i) // far more than any buffer holds
            plays(i & 127);
        EXPECT_EQ(plays(60), device == std::string("FluidSynth")) << "into nothing";
        port.close();
        EXPECT_FALSE(port.open("midi-monitor") || port.open("midi-monitor"));
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(6));
        EXPECT_EQ(out.text(), "");
        const std::string silent = "JACK's server does not answer; its ports are left out.\n";
        EXPECT_EQ(err.take(), (freezes ? silent : "") + "midi-monitor: device name not found.\n" +
                                  "midi-monitor: device name not found.\n");
        if (!freezes) {
            dump.reset();
            jack.start();
            continue;
        }
        jack.thaw();
        EXPECT_TRUE(jack_server::until([&, name = device] { return port.open(name); })) << "and it goes on";
        EXPECT_TRUE(plays_soon(61) && port.close());
        err.take();
        stop(*dump);
    }
}

TEST_F(midi_jack, ports_find_their_own_way_when_the_server_is_started_again) {
    midi::port_outputs outputs;
    midi::midi_out_t second{outputs};
    auto dump = monitor(), dump2 = monitor("midi-monitor-01:input");
    ASSERT_TRUE(port.open("midi-monitor:") && second.open("midi-monitor-01:"));
    for (const bool late : {false, true}) {
        jack.stop(SIGKILL);
        dump.reset();
        dump2.reset();
        EXPECT_TRUE(fails_soon());
        jack.start();
        if (late) {
            EXPECT_TRUE(jack_server::until_port("quenvarel-01:out"));
            EXPECT_FALSE(plays(61)) << "nobody hears it";
        }
        // Of clients that come together, JACK leaves one without cycles now and then.
        const auto heard_by_new_ones = [&] {
            dump.reset();
            dump2.reset();
            dump = monitor();
            dump2 = monitor("midi-monitor-01:input");
            return is_heard(62, *dump) && is_heard(second, 2, 62, *dump2);
        };
        EXPECT_TRUE(heard_by_new_ones() || heard_by_new_ones()) << late;
        EXPECT_FALSE(matches(dump->out(), ": 92") || matches(dump2->out(), ": 91"));
    }
    EXPECT_TRUE(second.close() && port.close());
    EXPECT_EQ(err.text(), "");
}

TEST(midi_jack_synthesizer, is_heard_also_when_the_server_was_started_again) {
    const temporary_directory directory;
    jack_server jack(2);
    ASSERT_TRUE(jack.runs());
    midi::midi_out_t port(midi::system_outputs());
    const capture out(std::cout), err(std::cerr);
    ASSERT_TRUE(port.open("FluidSynth"));
    const auto connected = [](const char* connection) {
        return run({"jack_lsp", "-c"}).out.find(connection) != std::string::npos;
    };
    jack.stop(SIGKILL);
    jack.start();
    EXPECT_TRUE(jack_server::until(
        [&] { return midi::noteoff(port, 1, 69) && connected("quenvarel:left\n   system:playback_1"); }));
    const auto record = [&](const char* seconds, std::chrono::milliseconds held) {
        process recording({"jack_rec", "-f", directory.file("heard.wav"), "-d", seconds, "-b", "16",
                           "quenvarel:left", "quenvarel:right"});
        EXPECT_TRUE(jack_server::until([&] { return connected("jackrec"); }));
        EXPECT_TRUE(midi::noteon(port, 1, 69, 127));
        std::this_thread::sleep_for(held);
        EXPECT_TRUE(port.close());
        EXPECT_EQ(recording.wait(), 0);
        return read_wav(directory.file("heard.wav"));
    };
    const sound heard = record("4", std::chrono::milliseconds(3000));
    ASSERT_GT(heard.seconds(), 2.3);
    // A busy machine leaves gaps in what is played in real time, which blur the pitch.
    EXPECT_NEAR(heard.pitch_near(440, 1.2, 2.2), 440, 6);
    // Gaps may also hide that it fades when it is closed.
    const auto fades = [&] {
        EXPECT_TRUE(port.open("FluidSynth"));
        std::vector<double> closed = record("1", std::chrono::milliseconds(500)).left;
        while (!closed.empty() && std::abs(closed.back()) < 0.0005)
            closed.pop_back();
        if (closed.size() < 4800) return false;
        const auto end = closed.end();
        return *std::max_element(end - 150, end) < 0.3 * *std::max_element(end - 4800, end - 3000);
    };
    EXPECT_TRUE(fades() || fades() || fades() || fades() || fades());
}

} // namespace
