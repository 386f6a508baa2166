// The player with MIDI inputs, through a real JACK server and in a real window.

#include "midi/midi_out.h"
#include "midi/senders.h"
#include "midi/system.h"
#include "player_under_test.h"
#include "support/capture.h"
#include "support/jack_server.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <jack/jack.h>
#include <jack/midiport.h>
#include <sstream>
#include <thread>

namespace {

using namespace test_support;
using std::chrono::milliseconds;

struct input_live : testing::Test {
    // Another program, whose messages go to the player's virtual port.
    void connect() {
        ASSERT_TRUE(jack_server::until_port("quenvarel:in"));
        ASSERT_TRUE(to_player.open("quenvarel:in"));
    }
    // Messages in hex, as player_under_test tells them.
    void send(const std::string& messages) {
        std::istringstream all(messages);
        for (std::string message; std::getline(all, message, ';');) {
            std::istringstream digits(message);
            std::vector<std::uint8_t> bytes;
            for (unsigned byte; digits >> std::hex >> byte;)
                bytes.push_back(std::uint8_t(byte));
            const std::size_t length = bytes.size();
            bytes.resize(std::max<std::size_t>(length, 4));
            EXPECT_TRUE(to_player.putbuf(bytes.data(), length)) << message;
        }
    }
    static bool shows(player_under_test& player, const picture& expected) {
        return jack_server::until(
            [&] { return player.display().screenshot(player.window()).rgba == expected.rgba; });
    }

    const jack_server jack{0, 512, jack_server::patient};
    capture quiet{std::cout};
    midi::midi_out_t to_player{midi::system_outputs()};
};

TEST_F(input_live, a_recording_that_comes_back_in_gives_the_same_picture_and_the_same_bytes) {
    std::string recorded;
    picture chord, rest;
    {
        player_under_test typed({"-c", "0", "--state=off"}); // which shows the time of its recording
        ASSERT_TRUE(typed.open_window());
        typed.display().move(typed.window(), 0, 0);
        typed.drive("key z sleep 3");
        rest = typed.display().screenshot(typed.window());
        typed.drive("keydown q keydown 2 keydown t sleep 3");
        chord = typed.display().screenshot(typed.window());
        EXPECT_EQ(typed.end(), 0);
        recorded = typed.played();
    }
    const std::string chord_end = "; 90 3c 00; 90 3d 00; 90 43 00";
    ASSERT_TRUE(recorded.ends_with(chord_end)) << recorded;

    player_under_test played({"-c", "0", "--state=off", "--input=Virtual port"});
    ASSERT_TRUE(played.open_window());
    played.display().move(played.window(), 0, 0);
    connect();
    send(recorded.substr(0, recorded.size() - chord_end.size()));
    EXPECT_TRUE(shows(played, chord)) << "as it was when the keys were typed";
    // Both ends hold middle C; what the input holds, Space does not let go.
    played.drive("keydown q");
    send("90 3c 00");
    played.drive("key space");
    EXPECT_TRUE(
        jack_server::until([&] { return played.display().screenshot(played.window()).rgba != chord.rgba; }));
    send("90 3c 64");
    EXPECT_TRUE(shows(played, chord));
    played.drive("keyup q sleep 1");
    EXPECT_TRUE(shows(played, chord));
    send("f0 7e 7f 09 01 f7; 90 3c 00; 90 3d 00; 90 43 00");
    EXPECT_TRUE(shows(played, rest));
    played.drive("key z");
    EXPECT_TRUE(to_player.close());
    EXPECT_EQ(played.end(), 0);
    EXPECT_TRUE(played.played().starts_with(recorded.substr(0, recorded.size() - chord_end.size()) +
                                            "; 90 3c 7f; 90 3c 00; "))
        << played.played();
    EXPECT_TRUE(
        played.played().ends_with("90 3c 64; 90 3c 00; f0 7e 7f 09 01 f7; 90 3c 00; 90 3d 00; 90 43 00; "
                                  "90 2d 7f; 90 2d 00"))
        << played.played();
}

// Plays short notes on the player's virtual port within JACK's own cycles, where nothing comes late and is
// dropped.
class flood {
public:
    flood(int events, int in_a_cycle) : events_(events), in_a_cycle_(in_a_cycle) {
        port_ = jack_port_register(client_, "out", JACK_DEFAULT_MIDI_TYPE, JackPortIsOutput, 0);
        jack_set_process_callback(
            client_,
            [](jack_nframes_t frames, void* self) {
                static_cast<flood*>(self)->play(frames);
                return 0;
            },
            this);
        jack_activate(client_);
        jack_connect(client_, "flood:out", "quenvarel:in");
    }
    ~flood() { jack_client_close(client_); }
    bool is_over() const { return played_ == events_; }

private:
    void play(jack_nframes_t frames) {
        void* const buffer = jack_port_get_buffer(port_, frames);
        jack_midi_clear_buffer(buffer);
        if (jack_port_connected(port_) == 0 || ++cycles_ < 20)
            return; // a new connection misses the first ones
        int played = played_;
        for (int i = 0; i < in_a_cycle_ && played < events_; ++i, ++played) {
            const std::uint8_t note[] = {std::uint8_t(0x90 + played / 2 % 16),
                                         std::uint8_t(played / 32 % 128), std::uint8_t(played % 2 ? 0 : 100)};
            EXPECT_EQ(jack_midi_event_write(buffer, jack_nframes_t(i), note, sizeof note), 0);
        }
        played_ = played;
    }
    jack_client_t* const client_ = jack_client_open("flood", JackNoStartServer, nullptr);
    jack_port_t* port_ = nullptr;
    const int events_, in_a_cycle_;
    int cycles_ = 0; // since it is connected
    std::atomic<int> played_{0};
};

TEST_F(input_live, ten_thousand_events_a_second_lose_nothing_and_the_window_answers) {
    player_under_test player({"--input=Virtual port"});
    ASSERT_TRUE(player.open_window());
    ASSERT_TRUE(jack_server::until_port("quenvarel:in"));
    constexpr int events = 30'000, typed = 20;
    {
        const flood playing(events, 107); // 512 frames at 48 kHz
        for (int i = 0; i < typed; ++i)
            player.drive("key z");
        EXPECT_TRUE(jack_server::until([&] { return playing.is_over(); }));
        std::this_thread::sleep_for(milliseconds(100)); // the last cycle
    }
    player.settle();
    std::this_thread::sleep_for(milliseconds(300)); // a cycle, and what is in the pipe of the recording
    EXPECT_EQ(player.end(), 0);
    const std::string all = player.played();
    const auto count = std::count(all.begin(), all.end(), ';') + 1;
    EXPECT_EQ(count, events + 2 * typed);
    EXPECT_EQ(player.traced().find("lost"), std::string::npos) << player.traced();
}

TEST_F(input_live, a_device_that_goes_is_silenced_and_taken_again) {
    midi::midi_out_t keys(midi::system_outputs());
    ASSERT_TRUE(keys.open("Virtual port"));
    player_under_test player({"--input=quenvarel:out", "--input=0"}); // the same one
    ASSERT_TRUE(player.open_window());
    midi::noteon(keys, 0, 60, 64);
    midi::holdon(keys, 0);
    // The title follows the programs of each channel; Insert goes on to the third one.
    midi::pgmchg(keys, 2, 19);
    player.drive("key Insert");
    EXPECT_NE(player.display().find_window(std::string(window_title) + " - Church Organ"), 0u);
    EXPECT_TRUE(keys.close());
    EXPECT_TRUE(player.program().wait_for_err("quenvarel:out has gone.\n"));
    ASSERT_TRUE(keys.open("Virtual port"));
    EXPECT_TRUE(player.program().wait_for_err("quenvarel:out is back.\n"));
    std::this_thread::sleep_for(milliseconds(200)); // the next cycles
    midi::noteon(keys, 0, 62, 64);
    EXPECT_TRUE(keys.close());
    EXPECT_TRUE(player.program().wait_for_err("quenvarel:out has gone.\n"));
    EXPECT_EQ(player.end(), 0);
    EXPECT_EQ(player.played(), "90 3c 40; b0 40 40; c2 13; b0 40 00; 90 3c 00; 90 3e 40; 90 3e 00");
}

TEST_F(input_live, no_loop_stays) {
    virtual_display display;
    process player({under_test().command[0], "--input=Virtual port", "Virtual port"},
                   {{{"DISPLAY", display.name()}}, {}});
    ASSERT_TRUE(jack_server::until_port("quenvarel-01:in"));
    const auto connect_both = [] { run({"jack_connect", "quenvarel:out", "quenvarel-01:in"}); };
    const auto window = display.find_window(window_title);
    ASSERT_TRUE(window && display.focus(window));
    display.drive("key q");
    ASSERT_TRUE(player.wait_for_err("note: 60"));
    // Until half a second after that, its greeting coming back would be the end of the input.
    std::this_thread::sleep_for(milliseconds(2000));
    for (int i = 0; i < 2; ++i) {
        connect_both(); // which takes it for a failure when the connection is cut at once
        EXPECT_TRUE(player.wait_for_err("Virtual port: disconnected from what this program sends.\n"));
        EXPECT_TRUE(jack_server::until([] {
            return run({"jack_lsp", "-c", "quenvarel:out"}).out == "quenvarel:out\n";
        }));
    }
    EXPECT_EQ(play_a_note(display, player), 0);
}

TEST_F(input_live, lists_inputs_and_refuses_what_is_none) {
    const auto player = [](const std::vector<std::string>& arguments) {
        std::vector<std::string> all = under_test().command;
        all.insert(all.end(), arguments.begin(), arguments.end());
        return run(all);
    };
    const std::string list = "\ninput devices:\n0: Virtual port\n";
    const process_result listed = player({"--input=list"});
    EXPECT_EQ(std::to_string(listed.exit_code) + listed.out + listed.err, '0' + list);
    for (const auto& [input, line] :
         {std::pair{"none", "none: device name not found.\n"}, {"7", "7>= 1: devid over.\n"}}) {
        const process_result refused = player({std::string("--input=") + input, "Virtual port"});
        EXPECT_EQ(refused.exit_code, 1);
        EXPECT_EQ(refused.err, line);
        EXPECT_TRUE(refused.out.ends_with("Virtual port\n" + list)) << refused.out;
    }
}

} // namespace
