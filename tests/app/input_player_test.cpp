// What arrives from inputs, on its way to the output and to the picture.

#include "app/input_player.h"
#include "midi/midi_out.h"
#include "support/capture.h"
#include "support/recording_service.h"
#include "support/scripted_inputs.h"

#include <gtest/gtest.h>
#include <optional>
#include <set>
#include <sstream>
#include <thread>

namespace {

using test_support::capture;

// Two inputs, one output, and a picture that writes down "+60 -60 P1:5".
struct input_player_test : testing::Test, quenvarel::input_listener {
    struct inputs_t : midi::input_service_t {
        std::vector<std::unique_ptr<test_support::scripted_inputs>> each;
        inputs_t() {
            each.push_back(std::make_unique<test_support::scripted_inputs>(std::vector<std::string>{"Keys"}));
            each.push_back(std::make_unique<test_support::scripted_inputs>(std::vector<std::string>{"Pads"}));
        }
        std::uint32_t device_count() override { return 2; }
        midi::result_t device_name(std::uint32_t device, std::string& name) override {
            return each[device]->device_name(0, name);
        }
        midi::result_t open(std::uint32_t device, midi::input_sink_t& sink,
                            std::unique_ptr<midi::input_device_t>& opened) override {
            return each[device]->open(0, sink, opened);
        }
    } service;

    void input_pressed(int key) override { told << '+' << key << ' '; }
    void input_released(int key) override { told << '-' << key << ' '; }
    void input_moved() override { ++pictures; }
    void input_program(int channel, int program) override { told << 'P' << channel << ':' << program << ' '; }
    bool sounds_elsewhere(int channel, int note) const override {
        return elsewhere.count({channel, note}) > 0;
    }

    void open() {
        port.open(0u);
        player.emplace(port, service, [] {});
        ASSERT_TRUE(player->open("Keys") && player->open("1"));
        player->tell(this);
        output.take_messages();
    }
    // Words: "0:913c7f" a message in hex from an input; "0:gone", "0:back", "leave".
    void play(const std::string& words) {
        std::istringstream all(words);
        for (std::string word; all >> word;) {
            if (word == "leave") {
                player->leave();
                continue;
            }
            auto& from = *service.each[std::size_t(word[0] - '0')];
            const std::string what = word.substr(2);
            if (what == "gone" || what == "back") {
                from.send(what == "gone" ? midi::input_event::close : midi::input_event::open,
                          what == "gone" ? 1 : 0, 0);
            } else {
                std::vector<std::uint8_t> bytes;
                for (std::size_t i = 0; i < what.size(); i += 2)
                    bytes.push_back(std::uint8_t(std::stoul(what.substr(i, 2), nullptr, 16)));
                if (bytes[0] == 0xF0 || bytes[0] == 0xF7 || bytes[0] < 0x80) {
                    while (!bytes.empty())
                        ASSERT_TRUE(from.send_long(bytes, 0));
                } else {
                    std::uintptr_t packed = 0;
                    for (std::size_t i = 0; i < bytes.size(); ++i)
                        packed |= std::uintptr_t{bytes[i]} << 8 * i;
                    from.send(midi::input_event::data, packed, 0);
                }
            }
            while (player->handle()) {
            }
        }
    }
    std::string take_told() {
        const std::string all = told.str();
        told.str("");
        return all;
    }

    capture out{std::cout}, err{std::cerr};
    test_support::recording_service output;
    midi::midi_out_t port{output};
    std::optional<quenvarel::input_player> player;
    std::ostringstream told;
    int pictures = 0;
    std::set<std::pair<int, int>> elsewhere;
};

TEST_F(input_player_test, passes_everything_on_and_moves_keys) {
    const struct {
        const char *words, *sent, *told;
    } cases[] = {
        {"0:903c40 0:803c20", "90 3c 40; 80 3c 20", "+60 -60 "},
        {"0:903c40 0:903c00", "90 3c 40; 90 3c 00", "+60 -60 "},
        {"0:9f0001 0:9f7f7f 0:8f0000 0:9f7f00", "9f 00 01; 9f 7f 7f; 8f 00 00; 9f 7f 00", "+0 +127 -0 -127 "},
        {"0:903c40 0:903c41 0:803c00 0:803c00", "90 3c 40; 90 3c 41; 80 3c 00; 80 3c 00", "+60 -60 "},
        {"0:903c40 0:913c40 0:803c00 0:813c00", "90 3c 40; 91 3c 40; 80 3c 00; 81 3c 00", "+60 -60 "},
        {"0:903c40 1:903c41 0:803c00 1:803c00", "90 3c 40; 90 3c 41; 80 3c 00; 80 3c 00", "+60 -60 "},
        {"0:b04005 0:e10740 0:d233 0:a13c10 0:f8 0:fe 0:f20102",
         "b0 40 05; e1 07 40; d2 33; a1 3c 10; f8; fe; f2 01 02", ""},
        {"0:c105 1:cf7f", "c1 05; cf 7f", "P1:5 P15:127 "},
        // Messages that end notes.
        {"0:903c40 0:913d40 0:b07b00 0:b17800", "90 3c 40; 91 3d 40; b0 7b 00; b1 78 00", "+60 +61 -60 -61 "},
        {"0:903c40 0:b07c00 0:913d40 0:ff", "90 3c 40; b0 7c 00; 91 3d 40; ff", "+60 -60 +61 -61 "},
        {"0:903c40 0:b07900 0:b07a00 0:803c00", "90 3c 40; b0 79 00; b0 7a 00; 80 3c 00", "+60 -60 "},
        // Long messages, whole whatever comes between, and what is none.
        {"0:f07e01f7 0:f00304 0:f7 0:f001 0:f8 1:903c40 0:02f7 1:803c00",
         "f0 7e 01 f7; f0 03 04 f7; f8; 90 3c 40; f0 01 02 f7; 80 3c 00", "+60 -60 "},
        {"0:f001 0:c105 0:02f7 0:0304 0:f003 0:f00405f7", "c1 05; f0 04 05 f7", "P1:5 "},
    };
    for (const auto& c : cases) {
        open();
        play(c.words);
        EXPECT_EQ(output.take_messages(), c.sent) << c.words;
        EXPECT_EQ(take_told(), c.told) << c.words;
        EXPECT_FALSE(player->holds(60) || player->holds(61));
        play("leave");
        EXPECT_EQ(output.take_messages(), "") << c.words;
    }
    EXPECT_EQ(err.text(), "");
}

TEST_F(input_player_test, releases_what_an_input_leaves_down) {
    const std::string gone = "Keys has gone.\n", both = gone + "Keys is back.\n";
    const struct {
        const char *words, *sent, *told;
        std::string said;
    } cases[] = {
        {"0:903c40 0:gone 0:back 0:903d40", "90 3c 40; 90 3c 00; 90 3d 40; 90 3d 00", "+60 -60 +61 ", both},
        {"0:b0407f 0:b1423f 0:bf4240 0:b2457f 0:b2457f 0:gone",
         "b0 40 7f; b1 42 3f; bf 42 40; b2 45 7f; b2 45 7f; b0 40 00; bf 42 00; b2 45 00", "", gone},
        {"0:b0407f 0:b07900 0:gone", "b0 40 7f; b0 79 00", "", gone},
        {"0:b1407f 0:ff 0:gone", "b1 40 7f; ff", "", gone},
        {"0:903c40 1:903c40 0:gone", "90 3c 40; 90 3c 40; 90 3c 00", "+60 ", gone},
        {"0:923c40 0:933c40 0:gone", "92 3c 40; 93 3c 40; 93 3c 00", "+60 -60 ", gone},
        {"0:f001 0:gone 0:back 0:02f7", "", "", both},
        {"1:903c40 0:gone leave", "90 3c 40; 90 3c 00", "+60 -60 ", gone},
    };
    elsewhere = {{2, 60}};
    for (const auto& c : cases) {
        open();
        play(c.words);
        EXPECT_EQ(take_told(), c.told) << c.words;
        play("leave");
        take_told();
        EXPECT_EQ(output.take_messages(), c.sent) << c.words;
        EXPECT_EQ(err.take(), c.said) << c.words;
        EXPECT_FALSE(player->holds(60) || player->holds(61));
    }
}

TEST_F(input_player_test, chooses_inputs_as_outputs_are_chosen) {
    open();
    EXPECT_TRUE(player->open("Pad")) << "it is open already";
    EXPECT_FALSE(player->open("pads") || player->open("2") || player->open("-"));
    EXPECT_EQ(err.take(), "pads: device name not found.\n2>= 2: devid over.\n-1>= 2: devid over.\n");
    play("leave");
    EXPECT_EQ(service.each[1]->take_calls(),
              "open 0; start; prepare; queue; stop; reset; unprepare; close; destroyed; ");
    service.each[0]->names = service.each[1]->names;
    EXPECT_TRUE(player->open("0") && player->open("1")) << "two of one kind";
    EXPECT_EQ(service.each[1]->take_calls(), "open 0; start; prepare; queue; ");
    play("leave");
    service.each[0]->failing = {"start"};
    EXPECT_FALSE(player->open("0"));
    EXPECT_TRUE(player->empty());
}

TEST_F(input_player_test, is_not_drowned_by_a_flood) {
    open();
    play("0:903c40 0:b0407f");
    output.take_messages();
    output.records = false;
    auto& from = *service.each[0];
    constexpr int far_too_many = 400'000;
    for (int i = 0; i < far_too_many; ++i)
        from.send(midi::input_event::data, 0x403D90 + (i % 2 ? 0x0100 : 0), 0);
    int rounds = 1;
    while (player->handle())
        ++rounds;
    EXPECT_GT(rounds, 1) << "the window is looked after meanwhile";
    EXPECT_GT(output.notes_on, 200'000u);
    EXPECT_LT(pictures, rounds + 2) << "one picture for many messages";
    EXPECT_FALSE(player->holds(60) || player->holds(61) || player->holds(62)) << "whose release may be lost";
    for (const auto& channel : output.sounding)
        EXPECT_EQ(std::count(channel.begin(), channel.end(), true), 0);
    output.records = true;
    play("0:903c40");
    EXPECT_EQ(output.take_messages(), "90 3c 40");
    std::istringstream line(err.take());
    std::string rest;
    std::size_t lost = 0;
    line >> rest >> lost;
    std::getline(line, rest);
    EXPECT_EQ(rest, " messages came too fast and are lost.");
    EXPECT_EQ(output.notes_on + lost, far_too_many + 2u);
}

TEST_F(input_player_test, keeps_long_messages_and_what_came_before_the_end_whole) {
    open();
    auto& from = *service.each[0];
    std::string word = "0:f0", sent = "f0";
    for (int i = 0; i < 300; ++i) {
        word += "11";
        sent += " 11";
    }
    play(word + "f7");
    EXPECT_EQ(output.take_messages(), sent + " f7");
    for (int i = 0; i < 100; ++i) // more than at one turn
        from.send(midi::input_event::data, 0x643E90, 0);
    play("0:gone 0:back");
    EXPECT_TRUE(output.take_messages().ends_with("90 3e 64; 90 3e 00"));
    EXPECT_EQ(err.take(), "Keys has gone.\nKeys is back.\n");

    // Its middle is lost.
    std::vector<std::uint8_t> begin = {0xF0, 1, 2}, end = {3, 0xF7};
    ASSERT_TRUE(from.send_long(begin, 0));
    output.records = false;
    for (int i = 0; i < 300'000; ++i)
        from.send(midi::input_event::data, 0xF8, 0);
    EXPECT_TRUE(player->handle());
    ASSERT_TRUE(from.send_long(end, 0));
    output.records = true;
    while (player->handle()) {
    }
    EXPECT_EQ(output.take_messages().find("f0"), std::string::npos);
}

TEST_F(input_player_test, leaves_out_an_input_that_brings_back_what_is_sent) {
    const std::string greeting = "f04110161220000051f7";
    for (const bool soon : {true, false}) {
        open();
        player->expect_no_echo_of({0x20, 0, 0, 0x51});
        play("1:903c40");
        if (!soon) std::this_thread::sleep_for(std::chrono::milliseconds(510));
        play("0:913c40 0:" + greeting + " 0:923c40");
        EXPECT_EQ(output.take_messages(),
                  soon ? "90 3c 40; 91 3c 40; 91 3c 00"
                       : "90 3c 40; 91 3c 40; f0 41 10 16 12 20 00 00 51 f7; 92 3c 40");
        EXPECT_EQ(err.take(),
                  soon ? "Keys: what this program sends comes back; the input is left out.\n" : "");
        play("1:803c00 leave");
        take_told();
    }
}

} // namespace
