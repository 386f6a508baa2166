// midimon as a user runs it, fed through a real JACK server.

#include "midi/midi_out.h"
#include "midi/senders.h"
#include "midi/system.h"
#include "support/capture.h"
#include "support/jack_server.h"
#include "support/pattern.h"
#include "support/process.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <sstream>

namespace {

using test_support::jack_server;
using test_support::matches;
using test_support::process;

const std::string midimon = QUENVAREL_BIN "/midimon";

TEST(midimon, lists_input_devices_and_is_quiet_without_sound_services) {
    const test_support::no_jack_server quiet_machine;
    const test_support::process_result listed = test_support::run({midimon});
    EXPECT_EQ(listed.exit_code, 0);
    EXPECT_EQ(listed.out.find("\ninput devices:\n"), 0u);
    EXPECT_EQ(listed.err, "");

    const test_support::process_result misused = test_support::run({midimon, "1", "2"});
    EXPECT_EQ(misused.exit_code, 1);
    EXPECT_TRUE(matches(misused.out + misused.err, "^usage: .*midimon \\[device\\]\n$")) << misused.err;
    EXPECT_EQ(test_support::run({midimon, "-"}).exit_code, 1);
}

TEST(midimon, prints_what_another_program_plays_also_when_it_comes_back) {
    jack_server jack;
    ASSERT_TRUE(jack.runs());
    const auto player = [] {
        auto started = std::make_unique<process>(
            std::vector<std::string>{"jack_midiseq", "seq", "4800", "0", "60", "2400"});
        EXPECT_TRUE(jack_server::until_port("seq:out"));
        return started;
    };
    auto playing = player();
    process monitor({midimon, "seq"});
    EXPECT_TRUE(monitor.wait_for_out("select read device: 0: seq:out\n"));
    const auto expect_notes = [&] {
        EXPECT_TRUE(monitor.wait_for_out(" 90 3c 40 note on channel 0 note 60 velocity 64\n"));
        EXPECT_TRUE(monitor.wait_for_out(" 80 3c 40 note off channel 0 note 60 velocity 64\n"));
    };
    expect_notes();
    playing->send_signal(SIGINT);
    EXPECT_TRUE(monitor.wait_for_err("seq:out has gone.\n"));
    playing = player();
    EXPECT_TRUE(monitor.wait_for_err("seq:out is back.\n"));
    monitor.out();
    expect_notes();
    jack.stop(SIGKILL);
    playing->send_signal(SIGKILL);
    EXPECT_TRUE(monitor.wait_for_err("The server of seq:out has gone.\n"));
    jack.start();
    playing = player();
    EXPECT_TRUE(monitor.wait_for_err("seq:out is back.\n"));
    expect_notes();
    monitor.send_signal(SIGINT);
    EXPECT_EQ(monitor.wait(), 0);
    EXPECT_TRUE(matches(monitor.out(), "\n[0-9]+\\.[0-9]{3} 90 3c 40 ")) << monitor.out();
    EXPECT_EQ(test_support::run({"jack_lsp"}).out, "seq:out\n") << "its port is gone";
    playing->send_signal(SIGINT);
    playing->wait();
}

TEST(midimon, prints_every_kind_of_message_that_our_port_sends) {
    const jack_server jack;
    ASSERT_TRUE(jack.runs());
    process monitor({midimon, "Virtual port"});
    ASSERT_TRUE(jack_server::until_port("quenvarel:in"));
    midi::midi_out_t port(midi::system_outputs());
    const test_support::capture choice(std::cout);
    ASSERT_TRUE(port.open("quenvarel:in"));
    std::vector<std::uint8_t> data(298, 0x11);
    midi::noteon(port, 1, 60, 127);
    midi::pgmchg(port, 15, 3);
    midi::sysex(port, data.data(), data.size());
    midi::sysex(port, data.data(), 3);
    midi::allnotesoff(port, 1);
    EXPECT_TRUE(monitor.wait_for_out("controller 123 value 0\n"));

    std::string piece;
    for (int i = 0; i < 127; ++i)
        piece += " 11";
    const std::string expected[] = {
        "91 3c 7f note on channel 1 note 60 velocity 127",
        "cf 03 program change channel 15 program 3",
        "f0" + piece + " system exclusive begins 128 bytes",
        "11" + piece + " system exclusive continues 128 bytes",
        piece.substr(1, 43 * 3 - 1) + " f7 system exclusive ends 44 bytes",
        "f0 11 11 11 f7 system exclusive 5 bytes",
        "b1 7b 00 control change channel 1 controller 123 value 0",
    };
    std::istringstream lines(monitor.out());
    std::string line;
    std::getline(lines, line);
    EXPECT_TRUE(matches(line, "^select read device: [0-9]+: Virtual port$")) << line;
    for (const std::string& wanted : expected) {
        std::getline(lines, line);
        EXPECT_TRUE(matches(line, "^[0-9]+\\.[0-9]{3} " + wanted + "$")) << line;
    }

    // At once, and more than fits into any buffer between the two.
    for (int i = 0; i < 2000; ++i)
        ASSERT_TRUE(midi::noteon(port, i / 128, i & 127, 1));
    data.resize(20000 - 2, 0x11);
    for (int i = 0; i < 3; ++i)
        midi::sysex(port, data.data(), data.size());
    data.resize(40000);
    midi::sysex(port, data.data(), data.size()); // too long: not even a part of it comes
    EXPECT_TRUE(midi::noteoff(port, 0, 0));
    EXPECT_TRUE(port.close());
    EXPECT_TRUE(monitor.wait_for_out(" note on channel 0 note 0 velocity 0\n"));
    const std::string all = monitor.out();
    EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), 8 + 2000 + 3 * 157 + 1);
    monitor.send_signal(SIGINT);
    EXPECT_EQ(monitor.wait(), 0);
    EXPECT_EQ(monitor.err(), "");
}

TEST(midimon, ends_when_told_while_its_server_stands_still) {
    jack_server jack;
    ASSERT_TRUE(jack.runs());
    process monitor({midimon, "Virtual port"});
    ASSERT_TRUE(jack_server::until_port("quenvarel:in"));
    jack.freeze();
    monitor.send_signal(SIGINT);
    EXPECT_EQ(monitor.wait(std::chrono::seconds(4)), 0);
    const auto listed = test_support::run({midimon});
    EXPECT_EQ(listed.out, "\ninput devices:\n");
    EXPECT_EQ(listed.err, "JACK's server does not answer; its ports are left out.\n");
    jack.thaw();
}

} // namespace
