// midimon as a user runs it, fed through a real JACK server.

#include "midi/midi_out.h"
#include "midi/senders.h"
#include "midi/system.h"
#include "support/capture.h"
#include "support/jack_server.h"
#include "support/pattern.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <optional>

namespace {

using namespace test_support;

const std::string midimon = QUENVAREL_BIN "/midimon";

TEST(midimon, lists_input_devices_and_is_quiet_without_sound_services) {
    const no_jack_server quiet_machine;
    const process_result listed = run({midimon});
    EXPECT_TRUE(listed.exit_code == 0 && listed.out.starts_with("\ninput devices:\n")) << listed.out;
    EXPECT_EQ(listed.err, "");
    const process_result misused = run({midimon, "1", "2"});
    EXPECT_EQ(misused.exit_code, 1);
    EXPECT_TRUE(matches(misused.out + misused.err, "^usage: .*midimon \\[device\\]\n$")) << misused.err;
    EXPECT_EQ(run({midimon, "-"}).exit_code, 1);
    EXPECT_TRUE(run({midimon, "-h"}).out.starts_with("usage: midimon [device]\n\nPrints "));
    EXPECT_TRUE(matches(run({midimon, "--version"}).out, "^midimon \\(Quenvarel\\) [0-9.]+\n$"));
    const process_result unknown = run({midimon, "--list"});
    EXPECT_EQ(unknown.exit_code, 1);
    EXPECT_TRUE(
        unknown.err.starts_with("midimon: there is no option --list; there are --help and --version.\n"));
}

TEST(midimon, prints_what_another_program_plays_also_when_it_comes_back) {
    jack_server jack;
    ASSERT_TRUE(jack.runs());
    std::optional<process> playing;
    const auto play = [&] {
        playing.emplace(std::vector<std::string>{"jack_midiseq", "seq", "4800", "0", "60", "2400"});
        EXPECT_TRUE(jack_server::until_port("seq:out"));
    };
    play();
    process monitor({midimon, "seq"});
    EXPECT_TRUE(monitor.wait_for_out("select read device: 0: seq:out\n"));
    const auto expect_notes = [&] {
        EXPECT_TRUE(monitor.wait_for_out(" 90 3c 40 note on channel 0 note 60 velocity 64\n"));
        EXPECT_TRUE(monitor.wait_for_out(" 80 3c 40 note off channel 0 note 60 velocity 64\n"));
    };
    expect_notes();
    playing->send_signal(SIGINT);
    EXPECT_TRUE(monitor.wait_for_err("seq:out has gone.\n"));
    play();
    EXPECT_TRUE(monitor.wait_for_err("seq:out is back.\n"));
    monitor.out();
    expect_notes();
    jack.stop(SIGKILL);
    EXPECT_TRUE(monitor.wait_for_err("The server of seq:out has gone.\n"));
    jack.start();
    // Not both at once: a server that starts sometimes leaves two clients that come together without cycles.
    EXPECT_TRUE(jack_server::until_port("quenvarel:in"));
    play();
    EXPECT_TRUE(monitor.wait_for_err("seq:out is back.\n"));
    expect_notes();
    monitor.send_signal(SIGINT);
    EXPECT_EQ(monitor.wait(), 0);
    EXPECT_TRUE(matches(monitor.out(), "\n[0-9]+\\.[0-9]{3} 90 3c 40 ")) << monitor.out();
    EXPECT_EQ(run({"jack_lsp"}).out, "seq:out\n") << "its port is gone";
}

TEST(midimon, prints_every_kind_of_message_that_our_port_sends) {
    const jack_server jack;
    ASSERT_TRUE(jack.runs());
    process monitor({midimon, "Virtual port"});
    ASSERT_TRUE(jack_server::until_port("quenvarel:in"));
    midi::midi_out_t port(midi::system_outputs());
    const capture choice(std::cout);
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
    const std::string time = "\n[0-9]+\\.[0-9]{3} ";
    EXPECT_TRUE(matches(monitor.out(), "^select read device: [0-9]+: Virtual port" + time +
                                           "91 3c 7f note on channel 1 note 60 velocity 127" + time +
                                           "cf 03 program change channel 15 program 3" + time + "f0" + piece +
                                           " system exclusive begins 128 bytes" + time + "11" + piece +
                                           " system exclusive continues 128 bytes" + time +
                                           piece.substr(1, 43 * 3) + "f7 system exclusive ends 44 bytes" +
                                           time + "f0 11 11 11 f7 system exclusive 5 bytes" + time +
                                           "b1 7b 00 control change channel 1 controller 123 value 0\n$"))
        << monitor.out();

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
    const auto listed = run({midimon});
    EXPECT_EQ(listed.out, "\ninput devices:\n");
    EXPECT_EQ(listed.err, "JACK's server does not answer; its ports are left out.\n");
    jack.thaw();
}

} // namespace
