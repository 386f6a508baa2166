// Keys that count by their places, on real layouts.

#include "player_under_test.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <sstream>

using namespace test_support;

namespace {

// Wine makes its scan codes from the characters, and has the places of few layouts.
std::vector<const char*> layouts() {
    if (under_test().windows) return {"us", "gb", "jp"};
    return {"us", "gb", "de", "fr", "us(dvorak)", "jp", "ru"};
}

// With a dead key and with commands on notes' places, where the system has its places.
const char* foreign_layout() {
    return under_test().windows ? "gb" : "fr";
}

// Key codes of the two manuals, each from its lowest note up. The key right of the slash is 97 on a Japanese
// board; others lack it.
std::string keys_of_manuals(const std::string& layout) {
    return "38 52 39 53 54 41 55 42 56 57 44 58 45 59 46 60 61 48 " +
           std::string(layout == "jp" ? "97" : "47") +
           " 51 24 11 25 12 26 27 14 28 15 29 16 30 31 18 32 19 33 34 21 35";
}

std::string note(int number, const char* velocity) {
    char text[16];
    std::snprintf(text, sizeof text, "91 %02x %s", unsigned(number), velocity);
    return text;
}

TEST(places, all_forty_notes_are_there_on_every_layout) {
    for (const char* const layout : layouts()) {
        player_under_test player({"--keys=places"}, layout);
        ASSERT_TRUE(player.open_window()) << player.program().err();
        std::istringstream keys(keys_of_manuals(layout));
        std::string commands, played;
        int sounding = 44;
        for (std::string key; keys >> key; ++sounding) {
            if (key == "24") sounding = 60; // the upper manual begins
            commands += "keydown " + key + " keyup " + key + ' ';
            played += (played.empty() ? "" : "; ") + note(sounding, "7f") + "; " + note(sounding, "00");
        }
        player.drive(commands);
        EXPECT_EQ(player.end(), 0);
        EXPECT_EQ(player.played(), played) << layout;
    }
}

// On a French keyboard key 34 types a dead accent, 47 m and 51 the star.
TEST(places, keep_the_rules_of_all_keys) {
    struct {
        const char *what, *commands, *played, *traced;
    } const cases[] = {
        {"a dead key does not repeat, however long it is held", "keydown 34 sleep 1.2 keyup 34",
         "91 4d 7f; 91 4d 00", "key: 0x40, '@', note: 77\n"},
        {"modifiers do not matter",
         "keydown 50 keydown 34 keydown 38 keyup 50 keyup 34 keydown 37 keydown 58 keyup 38 keyup 58 keyup "
         "37",
         "91 4d 7f; 91 2c 7f; 91 4d 00; 91 37 7f; 91 2c 00; 91 37 00",
         "key: 0x40, '@', note: 77\nkey: 0x61, 'a', note: 44\nspkey: 0x72\nkey: 0x6d, 'm', note: 55\n"},
        {"space holds", "keydown 34 keydown space keyup 34 keydown 34 keyup 34 keyup space",
         "91 4d 7f; 91 4d 7f; (91 4d 00; 91 4d 00; )b1 7b 00",
         "key: 0x40, '@', note: 77\nkeep: 0x20, ' '\nkey: 0x40, '@', note: 77\nalloff\n"},
        {"commands count by their characters where no note is", "key 51 key 63 key 86 key 40 key 51",
         "91 3f 7f; 91 3f 00; 91 3f 7f; 91 3f 00",
         "key: 0x5d, ']', note: 63\nvel: 0x0\nvel: 0x7f\nkey 0x64, 'd'\nkey: 0x5d, ']', note: "
         "63\n"},
    };
    for (const auto& c : cases) {
        player_under_test player({"--keys=places"}, foreign_layout());
        ASSERT_TRUE(player.open_window()) << player.program().err();
        player.drive(c.commands);
        EXPECT_EQ(player.end(), 0);
        EXPECT_EQ(player.played(), as_played(c.played)) << c.what;
        EXPECT_EQ(player.traced(), c.traced + std::string("keep: 0x1b, '\x1b'\n")) << c.what;
    }
}

// Also those of a key that writes nothing, and of a note's character on another key.
TEST(places, count_and_not_characters) {
    struct {
        const char *layout, *commands, *played, *traced;
    } const cases[] = {
        {"us(dvorak)", "key 40 key 20 key 97 key 52", "91 3e 7f; 91 3e 00; 91 2d 7f; 91 2d 00",
         "key 0x65, 'e'\nkey 0x5b, '['\nkey: 0x5c, '\\', note: 62\nkey: 0x7a, 'z', note: 45\n"},
        {"jp", "key 132", "", "key 0x5c, '\\'\n"}};
    for (const auto& c : cases) {
        if (under_test().windows && c.layout != std::string("jp")) continue;
        player_under_test player({"--keys=places"}, c.layout);
        ASSERT_TRUE(player.open_window());
        player.drive(c.commands);
        EXPECT_EQ(player.end(), 0);
        EXPECT_EQ(player.played(), c.played) << c.layout;
        EXPECT_EQ(player.traced(), c.traced + std::string("keep: 0x1b, '\x1b'\n"));
    }
}

// Neither the focus nor a change of the layout leaves a note sounding. Key 47 is no note on the new one.
TEST(places, nothing_stays_down) {
    for (const bool changes : {false, true}) {
        if (changes && under_test().windows) continue; // Wine has but one layout
        player_under_test player({"--keys=places"}, foreign_layout());
        ASSERT_TRUE(player.open_window());
        player.drive("keydown 34 keydown 47 keydown 38");
        if (changes) {
            player.display().set_layout("jp");
            player.settle();
        } else {
            player.display().focus_elsewhere();
        }
        player.drive_on("keyup 34 keyup 47 keyup 38");
        player.display().focus(player.window());
        player.settle();
        const auto limit = std::chrono::steady_clock::now() + generous;
        while (changes && player.traced().find("key 0x3b, ';'") == std::string::npos &&
               std::chrono::steady_clock::now() < limit)
            player.drive("key 47");
        EXPECT_EQ(player.end(), 0);
        const std::string began = "91 4d 7f; 91 3e 7f; 91 2c 7f; ";
        const std::string ended = changes ? "91 4d 00; 91 3e 00; 91 2c 00" : "91 4d 00; 91 2c 00; 91 3e 00";
        EXPECT_TRUE(player.played().starts_with(began + ended)) << player.played();
        EXPECT_LT(std::chrono::steady_clock::now(), limit) << "the new layout was never taken over";
    }
}

// One line at the start where the drawing is not what the keys say, and only then.
TEST(places, are_offered_where_characters_are_elsewhere) {
    struct {
        const char* layout;
        std::vector<std::string> options;
        bool offered;
    } const cases[] = {{"us", {}, true}, {"us", {"--keys=places"}, false}, {"jp", {}, false}};
    for (const auto& c : cases) {
        player_under_test player(c.options, c.layout);
        ASSERT_TRUE(player.open_window());
        EXPECT_EQ(player.end(), 0);
        EXPECT_EQ(player.program().out().find("--keys=places") != std::string::npos, c.offered)
            << c.layout << player.program().out();
    }
}

} // namespace
