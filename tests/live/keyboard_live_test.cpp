// The keyboard in the real window: what the screen shows while keys are played, and what the mouse plays on
// it.

#include "app/key_map.h"
#include "player_under_test.h"
#include "support/keyboard_points.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <thread>

using namespace test_support;

namespace {

constexpr std::array<int, 4> background = {14, 15, 19, 255};

class keyboard_live : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(player_.open_window()) << player_.program().err();
        window_ = std::to_string(player_.window());
        player_.display().move(player_.window(), 0, 0);
        // The corner of what the program draws; on Windows a frame is around it.
        ASSERT_TRUE(wait_until([&] { return find_corner(); })) << "no picture came";
    }
    void TearDown() override { EXPECT_EQ(player_.end(), 0); }

    // The program redraws a moment after it has handled the keys.
    template <class Condition>
    static bool wait_until(Condition condition) {
        for (int i = 0; i < 300; ++i) {
            if (condition()) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return false;
    }
    bool find_corner() {
        const picture image = player_.display().screenshot(player_.window());
        for (int y = image.height - 1; y >= 0; --y)
            for (int x = 0; x < image.width; ++x)
                if (image.at(x, y) == background) {
                    left_ = x;
                    below_ = y + 1 - window_height;
                    top_ = image.height - 1 - y;
                    return true;
                }
        return false;
    }
    // What the program draws, without the frame.
    picture shot() {
        const picture all = player_.display().screenshot(player_.window());
        picture inner{window_width, window_height, {}};
        for (int y = window_height - 1; y >= 0; --y)
            for (int x = 0; x < window_width; ++x)
                for (const int value : all.at(left_ + x, below_ + y))
                    inner.rgba.push_back(std::uint8_t(value));
        return inner;
    }
    // The keys whose front edge is lower than in the picture at rest, of the white ones.
    static std::set<int> lowered(const picture& at_rest, const picture& now) {
        std::set<int> keys;
        for (int key = 0; key < 128; ++key) {
            if (models::place_of(key).black) continue;
            const int x = front_column(key);
            if (front_edge(at_rest, x) - front_edge(now, x) >= 3) keys.insert(key);
        }
        return keys;
    }
    testing::AssertionResult shows(const picture& at_rest, const std::set<int>& pressed) {
        std::set<int> white, seen;
        for (const int key : pressed)
            if (!models::place_of(key).black) white.insert(key);
        if (wait_until([&] { return (seen = lowered(at_rest, shot())) == white; }))
            return testing::AssertionSuccess();
        return testing::AssertionFailure()
               << testing::PrintToString(seen) << " instead of " << testing::PrintToString(white);
    }
    // For xdotool: the pointer over a point of the picture.
    std::string move_to(const render::pos2& at) const {
        return "mousemove --window " + window_ + ' ' + std::to_string(left_ + int(at.x)) + ' ' +
               std::to_string(top_ + window_height - 1 - int(at.y)) + ' ';
    }
    player_under_test player_;
    std::string window_;
    int left_ = 0, top_ = 0, below_ = 0; // how far the picture is from the window's sides
};

std::string note(int key, bool on) {
    char text[16];
    std::snprintf(text, sizeof text, "91 %02x %02x; ", unsigned(key), on ? 0x7fu : 0u);
    return text;
}

} // namespace

TEST_F(keyboard_live, drawing_the_mouse_over_forty_keys_plays_them_one_after_the_other) {
    std::string messages, traces;
    player_.drive(move_to(tail_of(44)) + "mousedown 1 ");
    for (int key = 44; key < 84; ++key) {
        player_.drive(move_to(tail_of(key))); // as a hand moves: Windows joins moves that wait in its queue
        messages += note(key, true) + note(key, false);
        traces += "note: " + std::to_string(key) + '\n';
    }
    player_.drive("mouseup 1 ");
    // Off the keyboard the note ends at once.
    player_.drive(move_to(head_of(60)) + "mousedown 1 " + move_to({400, 10}) + move_to({420, 10}) +
                  "mouseup 1 ");
    messages += note(60, true) + note(60, false);
    traces += "note: 60\n";
    EXPECT_EQ(player_.end(), 0);
    EXPECT_EQ(player_.traced(), traces + "keep: 0x1b, '\x1b'\n");
    EXPECT_EQ(player_.played() + "; ", messages);
}

TEST_F(keyboard_live, every_octave_is_seen_pressed) {
    const picture at_rest = shot();
    std::string octave_keys;
    for (const char key : std::string("q2w3er5t6y7u"))
        octave_keys += std::string("keydown ") + key + ' ';
    std::string releases = octave_keys;
    for (std::size_t at = 0; (at = releases.find("keydown", at)) != std::string::npos;)
        releases.replace(at, 7, "keyup");
    player_.drive("key Next key Next key Next key Next key Next "); // q is note 0 then
    for (int octave = 0; octave < 11; ++octave) {
        player_.drive(octave_keys);
        std::set<int> pressed;
        for (int key = 12 * octave; key < 12 * octave + 12; ++key)
            pressed.insert(key & 127);
        EXPECT_TRUE(shows(at_rest, pressed)) << octave;
        player_.drive(releases + "key Prior ");
        EXPECT_TRUE(wait_until([&] { return shot().rgba == at_rest.rgba; })) << octave;
    }
}

TEST(keyboards, two_that_start_at_once_both_have_all_keys) {
    player_under_test first, second;
    for (player_under_test* const player : {&first, &second}) {
        ASSERT_TRUE(player->open_window()) << player->program().err();
        EXPECT_EQ(player->program().out().find("LoadShape"), std::string::npos) << player->program().out();
        EXPECT_EQ(player->traced(), "") << "a picture could not be loaded";
    }
    EXPECT_EQ(first.end(), 0);
    EXPECT_EQ(second.end(), 0);
}

// The piece of the demo, faster: what is sent and shown follows from its text alone.
TEST_F(keyboard_live, the_demo_piece_sounds_and_looks_as_it_is_written) {
    const picture at_rest = shot();
    struct event {
        double at;
        bool down;
        std::string key;
        bool operator<(const event& other) const {
            return at != other.at ? at < other.at : down < other.down;
        }
    };
    std::vector<event> events;
    double picture_at = 0;
    std::ifstream piece(QUENVAREL_DEMO_PIECE);
    for (std::string line; std::getline(piece, line);) {
        std::istringstream words(line);
        double at, length;
        std::string key;
        if (line.starts_with('#') || !(words >> at)) continue;
        if (!(words >> length)) {
            picture_at = at;
            continue;
        }
        while (words >> key) {
            events.push_back({at, true, key});
            events.push_back({at + length, false, key});
        }
    }
    std::stable_sort(events.begin(), events.end());
    ASSERT_GT(events.size(), 150u);

    const std::map<std::string, char> named = {{"comma", ','}, {"period", '.'}, {"slash", '/'}};
    int notebase = 36, program = 0, send = 0;
    int reverb[3] = {};
    std::set<int> sounding;
    std::vector<std::string> expected;
    std::string commands;
    const auto send_message = [&](std::initializer_list<int> bytes) {
        std::string text;
        for (const int byte : bytes) {
            char digits[4];
            std::snprintf(digits, sizeof digits, text.empty() ? "%02x" : " %02x", unsigned(byte));
            text += digits;
        }
        expected.push_back(text);
    };
    bool taken = false;
    double now = 0;
    for (const event& e : events) {
        if (!taken && e.at > picture_at) {
            player_.drive(commands);
            commands.clear();
            taken = true;
            EXPECT_TRUE(shows(at_rest, sounding));
            EXPECT_GE(sounding.size(), 8u);
        }
        // At once, a key that comes up and goes down again would be taken for one that repeats.
        if (e.at > now) commands += "sleep 0.01 ";
        now = e.at;
        commands += (e.down ? "keydown " : "keyup ") + e.key + ' ';
        if (e.key.size() == 1 || named.contains(e.key)) {
            const char c = e.key.size() == 1 ? e.key[0] : named.at(e.key);
            const int key = notebase + quenvarel::key_map[static_cast<unsigned char>(c)];
            send_message({0x91, key, e.down ? 0x7f : 0});
            EXPECT_EQ(e.down, sounding.insert(key).second) << e.key << " at " << e.at << " is down already";
            if (!e.down) sounding.erase(key);
        } else if (e.down && (e.key == "Page_Up" || e.key == "Page_Down")) {
            notebase += e.key == "Page_Up" ? 12 : -12;
            EXPECT_TRUE(sounding.empty()) << "at " << e.at;
        } else if (e.down && (e.key == "Home" || e.key == "End")) {
            send_message({0xc1, program += e.key == "Home" ? 1 : -1});
        } else if (e.down && e.key == "F4") {
            send_message({0xb1, 0x5b, ++send});
        } else if (e.down) {
            ++reverb[e.key.at(1) - '1'];
            const int sum = 0x10 + 1 + reverb[0] + reverb[1] + reverb[2];
            send_message({0xf0, 0x41, 0x10, 0x16, 0x12, 0x10, 0, 1, reverb[0], reverb[1], reverb[2],
                          -sum & 0x7f, 0xf7});
        }
    }
    player_.drive(commands);
    EXPECT_TRUE(wait_until([&] { return shot().rgba == at_rest.rgba; })) << "a key stayed down";
    EXPECT_EQ(player_.end(), 0);
    std::string messages;
    for (const std::string& message : expected)
        messages += (messages.empty() ? "" : "; ") + message;
    EXPECT_EQ(player_.played(), messages);
    EXPECT_TRUE(taken && sounding.empty());
}
