// The ports against a real JACK server, with jack_midi_dump and jack_rec as receivers that are not ours.

#include "midi/midi_out.h"
#include "midi/port_choice.h"
#include "midi/senders.h"
#include "midi/system.h"
#include "support/jack_server.h"
#include "support/pattern.h"
#include "support/sound.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <sstream>

namespace {

using test_support::jack_server;
using test_support::process;

// Opens by name and throws the line about the choice away.
bool open_quietly(midi::midi_out_t& port, const char* name) {
    testing::internal::CaptureStdout();
    const bool opened = port.open(name);
    testing::internal::GetCapturedStdout();
    return opened;
}

std::string devices() {
    std::ostringstream out;
    midi::listdevices(out, midi::system_outputs());
    return out.str();
}

// The bytes of each message in what jack_midi_dump wrote: "  60352: 91 45 7f note on ...".
std::vector<std::string> dumped(const std::string& text) {
    std::vector<std::string> messages;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        std::istringstream words(line.substr(std::min(line.find(':') + 1, line.size())));
        std::string bytes;
        for (std::string word; words >> word && test_support::matches(word, "^[0-9a-f]{2}$");)
            bytes += (bytes.empty() ? "" : " ") + word;
        messages.push_back(bytes);
    }
    return messages;
}

TEST(midi_jack, another_program_receives_the_bytes) {
    const jack_server jack;
    ASSERT_TRUE(jack.runs());
    process dump({"jack_midi_dump", "-a"});
    ASSERT_TRUE(jack_server::until_port("midi-monitor:input"));
    const std::string listed = devices();
    EXPECT_EQ(listed.find("\noutput devices:\n0: midi-monitor:input\n"), 0u) << listed;
    EXPECT_TRUE(test_support::matches(
        listed, ": Virtual port\n[0-9]+: FluidSynth\n[0-9]+: FluidSynth to WAV\n[0-9]+: MIDI file\n$"))
        << listed;

    midi::midi_out_t port(midi::system_outputs());
    ASSERT_TRUE(open_quietly(port, "monitor"));
    std::vector<std::string> sent;
    const auto expect = [&](bool result, const char* bytes) {
        EXPECT_TRUE(result) << bytes;
        sent.push_back(bytes);
    };
    using namespace midi;
    expect(noteon(port, 1, 60, 127), "91 3c 7f");
    expect(noteoff(port, 1, 60), "91 3c 00");
    expect(pgmchg(port, 17, 5), "c1 05");
    expect(pitchbend(port, 15, 0, 0x40), "ef 00 40");
    const std::uint8_t reverb[] = {0x10, 0, 1, 1, 2, 3};
    expect(rolandsysex(port, 0x41, 0x10, 0x16, 0x12, reverb, sizeof reverb),
           "f0 41 10 16 12 10 00 01 01 02 03 69 f7");
    const std::uint8_t two[] = {1, 2};
    expect(sysex(port, two, 2), "f0 01 02 f7");
    const std::vector<std::uint8_t> many(1000, 0x55);
    EXPECT_TRUE(sysex(port, many.data(), many.size()));
    std::string long_message = "f0";
    for (int i = 0; i < 1000; ++i)
        long_message += " 55";
    sent.push_back(long_message + " f7");
    EXPECT_FALSE(noteon(port, 1, 200, 127)) << "what is no message does not reach JACK";
    expect(allnotesoff(port, 1), "b1 7b 00");

    ASSERT_TRUE(dump.wait_for_out(": b1 7b 00"));
    EXPECT_TRUE(port.close());
    EXPECT_EQ(dumped(dump.out()), sent);
    dump.send_signal(SIGINT);
    dump.wait();
}

TEST(midi_jack, others_connect_to_the_virtual_port) {
    const jack_server jack;
    ASSERT_TRUE(jack.runs());
    midi::midi_out_t port(midi::system_outputs());
    ASSERT_TRUE(open_quietly(port, "Virtual port"));
    process dump({"jack_midi_dump"});
    ASSERT_TRUE(jack_server::until_port("midi-monitor:input"));
    ASSERT_EQ(test_support::run({"jack_connect", "quenvarel:out", "midi-monitor:input"}).exit_code, 0);
    EXPECT_TRUE(midi::noteon(port, 2, 61, 1));
    EXPECT_TRUE(dump.wait_for_out(": 92 3d 01"));
    EXPECT_TRUE(port.close());
    EXPECT_EQ(test_support::run({"jack_lsp"}).out.find("quenvarel"), std::string::npos) << "the port goes";
    dump.send_signal(SIGINT);
    dump.wait();
}

TEST(midi_jack, a_server_that_vanishes_takes_nobody_with_it) {
    for (const char* name : {"midi-monitor", "Virtual port", "FluidSynth"}) {
        jack_server jack;
        ASSERT_TRUE(jack.runs());
        process dump({"jack_midi_dump"});
        ASSERT_TRUE(jack_server::until_port("midi-monitor:input"));
        midi::midi_out_t port(midi::system_outputs());
        ASSERT_TRUE(open_quietly(port, name));
        EXPECT_TRUE(midi::noteon(port, 0, 60, 100));
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        jack.stop();
        // Far more than any buffer holds.
        for (int i = 0; i < 20000; ++i)
            midi::noteon(port, 0, i & 127, 100);
        const std::uint8_t data[] = {1, 2, 3, 4};
        EXPECT_TRUE(midi::sysex(port, data, 4));
        EXPECT_EQ(midi::noteon(port, 0, 60, 0), std::string("FluidSynth") == name) << name;
        port.close();
        EXPECT_FALSE(port.isopen());
        EXPECT_FALSE(port.open("midi-monitor")) << "and it is no longer listed";
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "midi-monitor: device name not found.\n") << name;
    }
}

TEST(midi_jack, a_server_that_is_started_again_is_played_on) {
    jack_server jack;
    ASSERT_TRUE(jack.runs());
    const auto dump_of_messages = [] {
        auto dump = std::make_unique<process>(std::vector<std::string>{"jack_midi_dump"});
        EXPECT_TRUE(jack_server::until_port("midi-monitor:input"));
        return dump;
    };
    auto dump = dump_of_messages();
    midi::midi_out_t port(midi::system_outputs());
    ASSERT_TRUE(open_quietly(port, "midi-monitor"));
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    for (const bool receiver_comes_late : {false, true}) {
        EXPECT_TRUE(jack_server::until([&] { return midi::noteon(port, 0, 60, 100); }));
        EXPECT_TRUE(dump->wait_for_out(": 90 3c 64"));
        jack.stop(SIGKILL);
        dump->send_signal(SIGKILL);
        EXPECT_TRUE(jack_server::until([&] { return !midi::noteon(port, 0, 61, 100); }));
        jack.start();
        if (receiver_comes_late) {
            EXPECT_TRUE(jack_server::until([&] { return midi::noteon(port, 0, 61, 100); }));
            EXPECT_EQ(test_support::run({"jack_lsp"}).out, "quenvarel:out\n");
        }
        dump = dump_of_messages();
        EXPECT_TRUE(jack_server::until([&] {
            return midi::noteon(port, 0, 62, 100) && dump->out().find(": 90 3e 64") != std::string::npos;
        })) << receiver_comes_late;
    }
    EXPECT_TRUE(port.close());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(midi_jack, a_server_that_stands_still_does_not_stop_the_player) {
    jack_server jack;
    ASSERT_TRUE(jack.runs());
    midi::midi_out_t port(midi::system_outputs());
    ASSERT_TRUE(open_quietly(port, "Virtual port"));
    jack.freeze();
    // Far more than any buffer holds.
    int taken = 0;
    for (int i = 0; i < 20000; ++i)
        taken += midi::noteon(port, 0, i & 127, 100);
    EXPECT_LT(taken, 20000);
    jack.thaw();
    EXPECT_TRUE(jack_server::until([&] { return midi::noteon(port, 0, 60, 0); })) << "and it goes on";
    EXPECT_TRUE(port.close());
}

TEST(midi_jack, the_synthesizer_is_heard_also_when_the_server_was_started_again) {
    const test_support::temporary_directory directory;
    jack_server jack(2);
    ASSERT_TRUE(jack.runs());
    midi::midi_out_t port(midi::system_outputs());
    testing::internal::CaptureStdout();
    ASSERT_TRUE(port.open("FluidSynth"));
    const std::uint8_t text[] = {0x20, 0, 0, 'H', 'e', 'l', 'l', 'o'};
    EXPECT_TRUE(midi::rolandsysex(port, 0x41, 0x10, 0x16, 0x12, text, sizeof text));
    EXPECT_NE(testing::internal::GetCapturedStdout().find("\nHello\n"), std::string::npos);
    const auto connected = [](const char* connection) {
        return test_support::run({"jack_lsp", "-c"}).out.find(connection) != std::string::npos;
    };
    const auto expect_heard = [&] {
        EXPECT_TRUE(connected("quenvarel:left\n   system:playback_1"));
        process recording({"jack_rec", "-f", directory.file("heard.wav"), "-d", "3", "-b", "16",
                           "quenvarel:left", "quenvarel:right"});
        ASSERT_TRUE(jack_server::until([&] { return connected("jackrec"); }));
        EXPECT_TRUE(midi::noteon(port, 1, 69, 127));
        EXPECT_EQ(recording.wait(), 0);
        const test_support::sound heard = test_support::read_wav(directory.file("heard.wav"));
        ASSERT_GT(heard.seconds(), 2.3);
        EXPECT_GT(heard.level(1.2, 2.2), 0.001);
        // A busy machine leaves gaps in what is played in real time, which blur the pitch.
        EXPECT_NEAR(heard.pitch_near(440, 1.2, 2.2), 440, 6);
    };
    expect_heard();
    testing::internal::CaptureStderr();
    jack.stop(SIGKILL);
    // Far more than any buffer holds.
    for (int i = 0; i < 20000; ++i)
        EXPECT_TRUE(midi::noteon(port, 0, i & 127, 100));
    jack.start();
    EXPECT_TRUE(
        jack_server::until([&] { return midi::noteoff(port, 1, 69) && connected("quenvarel:left"); }));
    expect_heard();
    EXPECT_TRUE(port.close());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

} // namespace
