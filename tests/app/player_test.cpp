// The instrument as a state machine: sequences of events with every byte and every trace line they lead to.

#include "player_driver.h"

#include "app/gluty.h"
#include "app/home_view.h"
#include "app/special_keys.h"
#include "support/allocations.h"

#include <gtest/gtest.h>

#include <map>
#include <regex>

using namespace test_support;

namespace {

struct sequence {
    const char *name, *events, *sent, *traced;
    player_settings settings = {};
};

const sequence sequences[] = {
    {"both manuals meet", "+q +/ -q -/", "91 3c 7f; 91 3c 7f; 91 3c 00; 91 3c 00",
     "key: 0x71, 'q', note: 60\nkey: 0x2f, '/', note: 60\n"},
    {"notes and octaves wrap at 127",
     "+[ -[ F+104 F+104 F+105 F+105",
     "90 23 7f; 90 23 00",
     "key: 0x5b, '[', note: 35\nnotebase to 4\nnotebase to 16\nnotebase to 4\nnotebase to 120\n",
     {.channel = 0, .notebase = 120}},
    {"every press and release sounds", "-z +z +z -z", "91 2d 00; 91 2d 7f; 91 2d 7f; 91 2d 00", "z z "},
    {"tab and return", "+Tab -Tab +Return -Return", "", "key 0x9, '\t'\nreturn\n"},
    // Holding notes, and the focus.
    {"space holds until it is released, then keys work as before", "+Space +z +c -z -c -Space +z -z",
     "91 2d 7f; 91 30 7f; b1 7b 00; 91 2d 7f; 91 2d 00",
     "keep: 0x20, ' '\nz key: 0x63, 'c', note: 48\nalloff\nz "},
    {"an octave change leaves the note until space", "+z F+104 -z +Space -Space",
     "91 2d 7f; 91 39 00; b1 7b 00", "z notebase to 48\nkeep: 0x20, ' '\nalloff\n"},
    {"space ends notes of other channels too", "+z F+108 -z +c +Space -Space",
     "91 2d 7f; 92 2d 00; 92 30 7f; b2 7b 00; 91 2d 00",
     "z newch to 2\nkey: 0x63, 'c', note: 48\nkeep: 0x20, ' '\nalloff\n"},
    {"focus lost with keys down", "+z +c focuslost -z", "91 2d 7f; 91 30 7f; 91 30 00; 91 2d 00; 91 2d 00",
     "z key: 0x63, 'c', note: 48\n"},
    {"space comes up elsewhere", "+Space +z focuslost focusback +c -c",
     "91 2d 7f; b1 7b 00; 91 30 7f; 91 30 00", "keep: 0x20, ' '\nz alloff\nkey: 0x63, 'c', note: 48\n"},
    {"focus lost with shift and alt down", "F+112 focuslost F+1 F+116 focuslost press:60",
     "reverb 01 00 00; 91 3c 7f", "newrevb to 1, 0, 0\nnote: 60\n"},
    // Settings of the sound.
    {"velocity", "++ ++ +* +z", "91 2d 7e", "vel: 0x7e\nvel: 0x7d\nvel: 0x7e\nz "},
    {"programs, and a velocity below 0",
     "++ +* F+107 F+106 F+106",
     "c1 00; c1 7f; c1 00; c1 01",
     "vel: 0x7f\nvel: 0x0\npgmchg to 0x7f\npgmchg to 0x0\npgmchg to 0x1\n",
     {.velocity = 0, .program_given = true}},
    {"channel", "F+108 +Delete +Delete +Delete +z F+108", "9f 2d 7f",
     "newch to 2\nnewch to 1\nnewch to 0\nnewch to 15\nz newch to 0\n"},
    {"reverb mode", "F+116 F+1 F-116 F+112 F+1 F+1 F+116 F-116 F+1 F-112 F+1 F+1",
     "reverb 01 00 00; reverb 00 00 00; reverb 03 00 00; reverb 02 00 00; reverb 03 00 00; reverb 00 00 00",
     "newrevb to 1, 0, 0\nnewrevb to 0, 0, 0\nnewrevb to 3, 0, 0\nnewrevb to 2, 0, 0\n"
     "newrevb to 3, 0, 0\nnewrevb to 0, 0, 0\n"},
    {"reverb time and level", "F+112 F+2 F-112 F+2 F+2 F+1 F+113 F+3",
     "reverb 00 07 00; reverb 00 00 00; reverb 00 01 00; reverb 01 01 00; reverb 01 01 07",
     "newrevb to 0, 7, 0\nnewrevb to 0, 0, 0\nnewrevb to 0, 1, 0\nnewrevb to 1, 1, 0\nnewrevb to 1, 1, 7\n"},
    {"reverb send, and the other shift key releases", "F+4 F+112 F+4 F+4 F-113 F+4",
     "b1 5b 01; b1 5b 00; b1 5b 7f; b1 5b 00",
     "cchg revb to 0x1\ncchg revb to 0x0\ncchg revb to 0x7f\ncchg revb to 0x0\n"},
    {"shift reverses F1 to F4 only", "F+112 F+104 F+106 F+108", "c1 01",
     "notebase to 48\npgmchg to 0x1\nnewch to 2\n"},
    {"keys without a function", "F+5 F+12 F+100 F+114 F+512 F-114", "",
     "spkey: 0x5\nspkey: 0xc\nspkey: 0x64\nspkey: 0x72\nspkey: 0x200\n"},
    // Modes of the modifiers.
    {"shift released leaves the camera mode", "F+117 F+112 F-112 press:60", "", ""},
    {"tab released ends the camera mode", "F+116 -Tab press:60", "91 3c 7f", "note: 60\n"},
    {"tab released leaves the shift mode", "F+112 -Tab F+4", "b1 5b 7f", "cchg revb to 0x7f\n"},
    // The mouse.
    {"a drag stops each note before the next", "press:0 drag:0 drag:62 drag:127 release:127",
     "91 00 7f; 91 00 00; 91 3e 7f; 91 3e 00; 91 7f 7f; 91 7f 00", "note: 0\nnote: 62\nnote: 127\n"},
    {"a drag off the keyboard and back",
     "press:60 drag: drag:60 release:", "91 3c 7f; 91 3c 00; 91 3c 7f; 91 3c 00", "note: 60\nnote: 60\n"},
    {"beside the keyboard, and without a button", "press: drag: release: drag:60", "", ""},
    {"released over another key than the sounding one", "press:60 release:72", "91 3c 7f; 91 3c 00; 91 48 00",
     "note: 60\n"},
    {"alt comes in between",
     "press:60 F+116 drag:62 release:62 press:60 drag:62 wheel:1 release:62 F-116 drag:60",
     "91 3c 7f; 91 3c 00", "note: 60\n"},
    {"shift comes in between", "press:60 F+112 drag:62 release:60 press:60 release:60 F-112 drag:64",
     "91 3c 7f; 91 3c 00", "note: 60\n"},
    {"a lost focus ends the note", "press:60 focuslost drag:62", "91 3c 7f; 91 3c 00", "note: 60\n"},
    {"the channel changes in between", "press:60 F+108 release:60 +Space -Space",
     "91 3c 7f; 92 3c 00; b2 7b 00; 91 3c 00", "note: 60\nnewch to 2\nkeep: 0x20, ' '\nalloff\n"},
};

// With "reverb MODE TIME LEVEL" for the message that sets it, and "z " for the line of that key.
std::string shortened(const std::string& text) {
    static const std::regex reverb("f0 41 10 16 12 10 00 01 (..) (..) (..) .. f7");
    static const std::regex z("key: 0x7a, 'z', note: 45\n");
    return std::regex_replace(std::regex_replace(text, reverb, "reverb $1 $2 $3"), z, "z ");
}

TEST(player, sequences_of_events) {
    for (const sequence& s : sequences) {
        player_driver driver(s.settings);
        driver.play(s.events);
        EXPECT_EQ(shortened(driver.sent()), s.sent) << s.name;
        EXPECT_EQ(shortened(driver.traced()), s.traced) << s.name;
    }
}

// The manuals are chromatic from end to end.
TEST(player, every_character_of_the_key_map) {
    std::map<int, int> notes; // by character
    for (const auto& [characters, first] :
         {std::pair(std::string("azsxcfvgbnjmk,l./:\\]"), 44), {"q2w3er5t6y7ui9o0p@^[", 60}})
        for (std::size_t i = 0; i < characters.size(); ++i)
            notes[characters[i]] = first + int(i);
    player_driver driver;
    for (int c = 0; c < 256; ++c) {
        if (std::string("\t\r\x1b +*\x7f").find(char(c)) != std::string::npos) continue;
        driver.player().keyboard(static_cast<unsigned char>(c), 0, 0);
        driver.player().keyboardup(static_cast<unsigned char>(c), 0, 0);
        const std::uint8_t on[] = {0x91, std::uint8_t(notes[c]), 0x7f}, off[] = {0x91, on[1], 0};
        EXPECT_EQ(driver.sent(), on[1] ? hex(on, 3) + "; " + hex(off, 3) : "") << c;
        std::ostringstream line;
        line << "key 0x" << std::hex << c << ", '" << char(c) << "'\n";
        EXPECT_TRUE(driver.traced() == line.str() || notes[c]) << c;
    }
}

TEST(player, the_end_stops_what_sounds_and_resets_the_display) {
    for (const auto& [velocity, ended] : {std::pair{127, "91 30 00; 92 03 00; 92 34 00; "}, {0, ""}}) {
        player_driver driver({.velocity = static_cast<signed char>(velocity)});
        driver.play("+z +c -z F+108 +b press:3");
        driver.sent();
        driver.end();
        EXPECT_EQ(driver.sent(), std::string(ended) + "f0 41 10 16 12 20 01 00 00 5f f7");
    }
}

TEST(player, keys_move_in_the_picture_with_their_notes) {
    player_driver driver;
    const auto& scene = driver.player().scene();
    driver.play("+z press:60");
    EXPECT_TRUE(scene.pressed(45) && scene.pressed(60));
    driver.play("drag:61 -z");
    EXPECT_TRUE(!scene.pressed(45) && !scene.pressed(60) && scene.pressed(61));
    driver.play("+Space +z -z");
    EXPECT_TRUE(scene.pressed(45));
    driver.play("-Space");
    EXPECT_FALSE(scene.pressed(45) || scene.pressed(61));
}

TEST(player, camera_moves_in_camera_mode_and_return_brings_it_home) {
    player_driver driver;
    quenvarel::Quenvarel& player = driver.player();
    player.reshape(800, 200);
    const quenvarel::camera_t home = quenvarel::home_camera(4);
    const auto after = [&](const char* events) {
        driver.play(events);
        return player.camera();
    };
    EXPECT_EQ(after("+Return wheel:1 press: drag: release:"), home);
    const quenvarel::camera_t nearer = after("F+116 wheel:1");
    EXPECT_LT(nearer.eye.y, home.eye.y);
    const quenvarel::camera_t turned = after("press: drag: release:");
    EXPECT_NE(turned, nearer);
    EXPECT_EQ(after("drag:"), turned) << "the button is up";
    // A window manager may keep the left one for itself.
    player.mouse(1, 0, 300, 100);
    player.motion(340, 100);
    player.mouse(1, 1, 340, 100);
    EXPECT_NE(player.camera(), turned);
    player.reshape(1000, 500);
    EXPECT_NE(player.camera(), quenvarel::home_camera(2)) << "somebody has turned it";
    EXPECT_EQ(after("+Return"), quenvarel::home_camera(2));
    player.reshape(800, 200);
    EXPECT_EQ(player.camera(), home);
    EXPECT_EQ(driver.sent(), "");
}

// Counts how often something is written.
struct write_counter : std::streambuf {
    std::streamsize xsputn(const char*, std::streamsize count) override { return ++writes, count; }
    int_type overflow(int_type c) override { return ++writes, c; }
    int writes = 0;
};

TEST(player, playing_allocates_nothing_and_writes_each_line_at_once) {
    EXPECT_THROW(quenvarel::Quenvarel(nullptr, 0, 0, 0, 0, false), std::logic_error);
    player_driver driver;
    driver.service().records = false;
    quenvarel::Quenvarel& player = driver.player();
    write_counter counter;
    std::cerr.rdbuf(&counter); // until the driver brings back what was there
    const std::size_t allocated = test_support::allocations();
    for (int c = 1; c < 256; ++c) {
        if (c == 27) continue;
        player.keyboard(static_cast<unsigned char>(c), 0, 0);
        player.keyboardup(static_cast<unsigned char>(c), 0, 0);
    }
    for (const int key : {gems::key_f4, gems::key_page_up, gems::key_end, gems::key_insert})
        player.special(key, 0, 0);
    EXPECT_EQ(test_support::allocations(), allocated);
    player.special(gems::key_f1, 0, 0);
    EXPECT_GT(test_support::allocations(), allocated) << "a long message is counted";
    // One line for each key down, one for Space up and one for F1.
    EXPECT_EQ(counter.writes, 254 + 4 + 1 + 1);
}

TEST(player, escape_leaves_the_loop_and_holds) {
    player_driver driver;
    EXPECT_FALSE(gems::registry->leaving());
    driver.play("+z +Escape -z -Escape");
    EXPECT_TRUE(gems::registry->leaving());
    gems::registry->mainloop(); // which it leaves at once, and which may then be entered again
    EXPECT_FALSE(gems::registry->leaving());
    EXPECT_EQ(driver.sent(), "91 2d 7f");
    EXPECT_EQ(driver.traced(), "key: 0x7a, 'z', note: 45\nkeep: 0x1b, '\x1b'\n");
}

} // namespace
