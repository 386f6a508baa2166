// Sequences of real key and mouse events into the real window, with every trace line and every message.

#include "player_under_test.h"
#include "support/jack_server.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <thread>

using namespace test_support;
using std::chrono::milliseconds;

namespace {

struct sequence {
    const char *name, *commands, *played, *traced;
    std::vector<std::string> options = {};
};

void PrintTo(const sequence& s, std::ostream* out) {
    *out << s.name;
}

template <class Case>
std::string name_of(const testing::TestParamInfo<Case>& info) {
    std::string name = info.param.name;
    for (char& c : name)
        if (c == ' ') c = '_';
    return name;
}

class live : public testing::TestWithParam<sequence> {};

TEST_P(live, sends_and_traces) {
    const sequence& s = GetParam();
    player_under_test player(s.options);
    ASSERT_TRUE(player.open_window()) << player.program().err();
    player.drive(s.commands);
    EXPECT_EQ(player.end(), 0);
    EXPECT_EQ(player.traced(), s.traced + std::string("keep: 0x1b, '\x1b'\n"));
    EXPECT_EQ(player.played(), as_played(s.played));
}

// Key codes where a name would mean two keys: 50 and 62 are Shift, 37 and 105 Ctrl, 64 and 108 Alt.
const sequence sequences[] = {
    {"a chord is held and released in any order", "keydown z keydown c keydown b keyup c keyup z keyup b",
     "91 2d 7f; 91 30 7f; 91 34 7f; 91 30 00; 91 2d 00; 91 34 00",
     "key: 0x7a, 'z', note: 45\nkey: 0x63, 'c', note: 48\nkey: 0x62, 'b', note: 52\n"},
    {"options",
     "keydown z keyup z",
     "c3 05; 93 09 40; 93 09 00",
     "key: 0x7a, 'z', note: 9\n",
     {"-c", "3", "-p", "5", "-n", "0", "-l", "0x40"}},
    {"a held key does not repeat", "keydown z sleep 1.2 keyup z", "91 2d 7f; 91 2d 00",
     "key: 0x7a, 'z', note: 45\n"},
    {"space holds", "keydown space keydown z keyup z keydown c keyup c keyup space",
     "91 2d 7f; 91 30 7f; (91 2d 00; 91 30 00; )b1 7b 00",
     "keep: 0x20, ' '\nkey: 0x7a, 'z', note: 45\nkey: 0x63, 'c', note: 48\nalloff\n"},
    {"reverb keys up and with either shift key down",
     "key F1 key F2 key F3 key F4 keydown 50 key F1 key F4 keyup 50 keydown 62 key F2 key F3 keyup 62 key F4",
     "f0 41 10 16 12 10 00 01 01 00 00 6e f7; f0 41 10 16 12 10 00 01 01 01 00 6d f7; "
     "f0 41 10 16 12 10 00 01 01 01 01 6c f7; b1 5b 01; f0 41 10 16 12 10 00 01 00 01 01 6d f7; b1 5b 00; "
     "f0 41 10 16 12 10 00 01 00 00 01 6e f7; f0 41 10 16 12 10 00 01 00 00 00 6f f7; b1 5b 01",
     "newrevb to 1, 0, 0\nnewrevb to 1, 1, 0\nnewrevb to 1, 1, 1\ncchg revb to 0x1\nnewrevb to 0, 1, 1\n"
     "cchg revb to 0x0\nnewrevb to 0, 0, 1\nnewrevb to 0, 0, 0\ncchg revb to 0x1\n"},
    {"every other key",
     "key Prior key Next key Next key Home key Home key End key Insert key Delete key F5 key F10 key F12 key "
     "Left key Up key 37 key 105 key Return key Tab key h key 1 key KP_Add key KP_Add key KP_Multiply "
     "keydown "
     "z keyup z",
     "c1 01; c1 02; c1 01; 91 21 7e; 91 21 00",
     "notebase to 48\nnotebase to 36\nnotebase to 24\npgmchg to 0x1\npgmchg to 0x2\npgmchg to 0x1\nnewch to "
     "2\nnewch to 1\nspkey: 0x5\nspkey: 0xa\nspkey: 0xc\nspkey: 0x64\nspkey: 0x65\nspkey: 0x72\nspkey: "
     "0x73\nreturn\nkey 0x9, '\t'\nkey 0x68, 'h'\nkey 0x31, '1'\nvel: 0x7e\nvel: 0x7d\nvel: 0x7e\nkey: "
     "0x7a, 'z', note: 33\n"},
    {"shift comes between press and release",
     "keydown z keydown 2 keydown comma keydown 50 keyup z keyup 11 keyup 59 keyup 50",
     "91 2d 7f; 91 3d 7f; 91 39 7f; 91 2d 00; 91 3d 00; 91 39 00",
     "key: 0x7a, 'z', note: 45\nkey: 0x32, '2', note: 61\nkey: 0x2c, ',', note: 57\n"},
    {"shift goes between press and release", "keydown 50 keydown 11 keyup 50 keyup 11", "91 4d 7f; 91 4d 00",
     "key: 0x40, '@', note: 77\n"},
    {"shift comes and goes while keys are held",
     "keydown 2 sleep 0.8 keydown 50 sleep 0.2 keyup 50 keyup 11 keydown 50 keydown 38 keyup 50 sleep 0.8 "
     "keyup 38",
     "91 3d 7f; 91 3d 00", "key: 0x32, '2', note: 61\nkey 0x41, 'A'\n"},
    {"control comes between press and release",
     "keydown z keydown m keydown i keydown 59 keydown 34 keydown 2 keydown 37 keyup z keyup m keyup i keyup "
     "59 keyup 34 keyup 2 keyup 37",
     "91 2d 7f; 91 37 7f; 91 48 7f; 91 39 7f; 91 4f 7f; 91 3d 7f; 91 2d 00; 91 37 00; 91 48 00; 91 39 00; 91 "
     "4f 00; 91 3d 00",
     "key: 0x7a, 'z', note: 45\nkey: 0x6d, 'm', note: 55\nkey: 0x69, 'i', note: 72\nkey: 0x2c, ',', note: "
     "57\nkey: 0x5b, '[', note: 79\nkey: 0x32, '2', note: 61\nspkey: 0x72\n"},
    {"control comes while space holds", "keydown space keydown z keyup z keydown 37 keyup space keyup 37",
     "91 2d 7f; (91 2d 00; )b1 7b 00", "keep: 0x20, ' '\nkey: 0x7a, 'z', note: 45\nspkey: 0x72\nalloff\n"},
    {"keys with a control character of their own release no others",
     "keydown m keydown i key Return key Tab keydown z keyup z keyup m keyup i",
     "91 37 7f; 91 48 7f; 91 2d 7f; 91 2d 00; 91 37 00; 91 48 00",
     "key: 0x6d, 'm', note: 55\nkey: 0x69, 'i', note: 72\nreturn\nkey 0x9, '\t'\nkey: 0x7a, 'z', note: "
     "45\n"},
    {"two keys with one character", "keydown 61 keydown 106 keyup 61 keyup 106",
     "91 3c 7f; 91 3c 7f; 91 3c 00; 91 3c 00", "key: 0x2f, '/', note: 60\nkey: 0x2f, '/', note: 60\n"},
    {"alt or F10 leaves the keys alone",
     "key 64 keydown z keyup z key 108 keydown x keyup x key F10 keydown c keyup c keydown 64 keydown z "
     "keyup "
     "z keyup 64",
     "91 2d 7f; 91 2d 00; 91 2f 7f; 91 2f 00; 91 30 7f; 91 30 00; 91 2d 7f; 91 2d 00",
     "key: 0x7a, 'z', note: 45\nkey: 0x78, 'x', note: 47\nspkey: 0xa\nkey: 0x63, 'c', note: 48\nkey: 0x7a, "
     "'z', note: 45\n"},
    {"mouse beside the keys",
     "mousemove 200 60 mousedown 1 mousemove 300 60 mouseup 1 click 2 click 3 click 4 click 5 click 8 "
     "click 9",
     "", ""},
    {"camera drag and wheel",
     "keydown 64 mousemove 300 100 mousedown 1 mousemove 400 120 mousemove 200 150 mouseup 1 click 4 click 5 "
     "click 8 keyup 64 key Return",
     "", "return\n"},
};
INSTANTIATE_TEST_SUITE_P(player, live, testing::ValuesIn(sequences), name_of<sequence>);

// X names the Alt key Meta then.
TEST(live_player, alt_comes_up_while_shift_is_down) {
    if (under_test().windows) GTEST_SKIP() << "Windows has one name for it";
    player_under_test player;
    ASSERT_TRUE(player.open_window());
    player.drive("keydown 64 keydown 50 keyup 64 keyup 50 mousemove 300 118 mousedown 1 mouseup 1 "
                 "keydown 64 mousedown 1 mousemove 400 120 mouseup 1 keyup 64");
    EXPECT_EQ(std::ranges::count(player.traced(), '\n'), 1)
        << "plays without Alt, turns with it the second time";
    EXPECT_EQ(player.end(), 0);
}

// A German keyboard's period and v have no character of one byte then, and GLUT tells nothing or another one.
TEST(live_player, keys_come_up_while_altgr_is_down) {
    player_under_test player({}, "de");
    ASSERT_TRUE(player.open_window());
    player.drive("keydown 60 keydown 55 keydown 54"); // Wine would take keys that wait for AltGr's too
    player.drive("keydown 108 keyup 60 keyup 55 keyup 108 keydown 55 keyup 55 keyup 54");
    EXPECT_EQ(player.end(), 0);
    EXPECT_EQ(player.played(),
              "91 3b 7f; 91 32 7f; 91 30 7f; 91 3b 00; 91 32 00; 91 32 7f; 91 32 00; 91 30 00");
}

// Who grabs the keyboard, such as a window manager's switcher, gets the releases too.
TEST(live_player, keys_that_are_down_are_released_when_the_keyboard_goes) {
    for (const bool grabbed : {false, true}) {
        if (grabbed && under_test().windows) continue; // the display is Wine's
        player_under_test player;
        ASSERT_TRUE(player.open_window());
        player.drive("keydown z keydown c keydown 50");
        grabbed ? player.display().grab_keyboard() : player.display().focus_elsewhere();
        player.drive_on("keyup z keyup c keyup 50");
        grabbed ? player.display().ungrab_keyboard() : (void)player.display().focus(player.window());
        player.drive("key F4 keydown b keyup b");
        EXPECT_EQ(player.end(), 0);
        EXPECT_EQ(player.played(), "91 2d 7f; 91 30 7f; 91 2d 00; 91 30 00; b1 5b 01; 91 34 7f; 91 34 00");
    }
}

// Space may come up in another window, or stay down all the time. A key that is still down when the keyboard
// is back repeats, but plays nothing.
TEST(live_player, notes_held_by_space_stay_when_the_focus_goes) {
    struct {
        const char *elsewhere, *back, *played;
        bool every_loss_noticed = false; // Wine does not notice one that is short
    } const cases[] = {
        {"keyup z keyup space", "keydown c keyup c", "91 2d 7f; (91 2d 00; )b1 7b 00; 91 30 7f; 91 30 00"},
        {"keyup space", "sleep 1 keyup z key space", "91 2d 7f; (91 2d 00; )b1 7b 00; b1 7b 00", true},
        {"keyup z", "sleep 1 keydown c keyup c keyup space",
         "91 2d 7f; 91 30 7f; (91 2d 00; 91 30 00; )b1 7b 00"},
    };
    for (const auto& c : cases) {
        if (c.every_loss_noticed && under_test().windows) continue;
        player_under_test player;
        ASSERT_TRUE(player.open_window());
        player.drive("keydown space keydown z");
        player.display().focus_elsewhere();
        player.drive_on(c.elsewhere);
        player.display().focus(player.window());
        player.drive(c.back);
        EXPECT_EQ(player.end(), 0);
        EXPECT_EQ(player.played(), as_played(c.played)) << c.elsewhere;
    }
}

// However late the program looks: not when it looks, but what was played is what counts.
TEST(live_player, a_late_program_tells_repetitions_from_fast_notes) {
    if (under_test().windows) GTEST_SKIP() << "the display is Wine's";
    player_under_test player;
    ASSERT_TRUE(player.open_window());
    player.drive("keydown z sleep 1.2");
    player.program().send_signal(SIGSTOP);
    player.drive_on("keyup z keydown c keyup c keydown c keyup c keydown F1 keyup F1 keydown c");
    player.program().send_signal(SIGCONT);
    player.settle();
    EXPECT_EQ(player.end(), 0);
    EXPECT_EQ(player.played(), "91 2d 7f; 91 2d 00; 91 30 7f; 91 30 00; 91 30 7f; 91 30 00; "
                               "f0 41 10 16 12 10 00 01 01 00 00 6e f7; 91 30 7f; 91 30 00");
}

// The device's driver keeps the first note for two seconds: the keys wait, and nothing is lost or overtaken.
TEST(live_player, a_device_that_blocks_is_waited_for) {
    if (!under_test().windows) GTEST_SKIP() << "no device here can be made to block";
    const struct {
        const char *commands, *played;
        bool interrupted;
    } cases[] = {
        {"keydown z keyup z keydown c keyup c key Escape", "91 2d 7f; 91 2d 00; 91 30 7f; 91 30 00", false},
        {"keydown z keyup z", "91 2d 7f; 91 2d 00", true},
    };
    for (const auto& [commands, played, interrupted] : cases) {
        setenv("QUENVAREL_WINMM_SLOW", "midiOutShortMsg#1=2000", 1);
        player_under_test player;
        unsetenv("QUENVAREL_WINMM_SLOW");
        ASSERT_TRUE(player.open_window()) << player.program().err();
        player.drive_on(commands);
        ASSERT_TRUE(player.program().wait_for_err("note: 45"));
        if (interrupted) player.interrupt();
        EXPECT_EQ(player.program().wait(), 0);
        EXPECT_EQ(player.played(), played);
    }
}

// Also while another one starts.
TEST(live_player, keys_are_shown_at_rest_and_pressed) {
    if (under_test().windows) GTEST_SKIP() << "the screen shows its frame too";
    player_under_test player({"--state=off"}), other; // which shows the time of its recording
    for (player_under_test* const one : {&player, &other}) {
        ASSERT_TRUE(one->open_window()) << one->program().err();
        EXPECT_EQ(one->program().out().find("LoadShape"), std::string::npos) << one->program().out();
        EXPECT_EQ(one->traced(), "") << "a picture could not be loaded";
    }
    virtual_display& display = player.display();
    display.move(player.window(), 0, 0);
    const auto shows = [&](auto condition) {
        const auto end = std::chrono::steady_clock::now() + generous;
        while (!condition(display.screenshot(player.window())))
            if (std::chrono::steady_clock::now() > end) return false;
        return true;
    };
    const auto is_drawn = [](const picture& p) { return p.at(400, 60)[0] > 100; };
    // The first picture comes in pieces, and once more when the view has come to rest.
    picture at_rest;
    ASSERT_TRUE(shows([&](const picture& p) {
        const bool stays = is_drawn(p) && p.rgba == at_rest.rgba;
        at_rest = p;
        std::this_thread::sleep_for(milliseconds(500));
        return stays;
    })) << "no white key in the middle";
    player.drive("keydown q");
    EXPECT_TRUE(shows([&](const picture& p) { return p.rgba != at_rest.rgba; }));
    player.drive("keyup q");
    const auto is_at_rest = [&](const picture& p) { return p.rgba == at_rest.rgba; };
    EXPECT_TRUE(shows(is_at_rest));
    const std::string window = std::to_string(player.window());
    display.drive("windowunmap --sync " + window + " windowmap --sync " + window);
    EXPECT_TRUE(shows(is_at_rest)) << "the window system has lost what it showed";
    other.drive("key Home key Home key End");
    const std::string plain = window_title, instrument = " - Bright Acoustic Piano";
    EXPECT_NE(other.display().find_window(plain + instrument), 0u);
    EXPECT_FALSE(display.has_window(plain + " -")) << "without state";
    EXPECT_EQ(player.end() + other.end(), 0);
}

// How often its threads have gone to sleep.
long sleeps_of(int pid) {
    long count = 0;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/task")) {
        const std::string status = read_file((thread.path() / "status").string()),
                          label = "\nvoluntary_ctxt_switches:";
        if (const std::size_t at = status.find(label); at != status.npos)
            count += std::stol(status.substr(at + label.size()));
    }
    return count;
}

// Until the first note; then the time of the recording is shown.
TEST(live_player, wakes_hardly_ever_at_rest) {
    if (under_test().windows) GTEST_SKIP() << "the threads are Wine's";
    player_under_test player;
    ASSERT_TRUE(player.open_window());
    const auto end = std::chrono::steady_clock::now() + generous;
    long sleeps = 0;
    do { // its picture may still be on the way
        ASSERT_LT(std::chrono::steady_clock::now(), end) << sleeps << " sleeps in two seconds";
        const long before = sleeps_of(player.program().pid());
        std::this_thread::sleep_for(milliseconds(2000));
        sleeps = sleeps_of(player.program().pid()) - before;
    } while (sleeps > 10);
    EXPECT_EQ(player.end(), 0);
}

TEST(live_player, tells_the_desktop_who_it_is) {
    if (under_test().windows) GTEST_SKIP() << "the window manager is Wine's";
    player_under_test player;
    ASSERT_TRUE(player.open_window());
    const auto property = [&](const char* name) { return player.display().property(player.window(), name); };
    const auto names = property("WM_CLASS");
    EXPECT_EQ(std::string(names.begin(), names.end()), std::string("quenvarel\0Quenvarel\0", 20));
    EXPECT_EQ(property("_NET_WM_PID"), std::vector<unsigned long>{unsigned(player.program().pid())});
    EXPECT_NE(property("WM_CLIENT_MACHINE").size(), 0u);
    const auto icons = property("_NET_WM_ICON");
    std::string sizes;
    for (std::size_t at = 0; at + 1 < icons.size(); at += 2 + icons[at] * icons[at + 1]) {
        const unsigned long width = icons[at], height = icons[at + 1];
        sizes += std::to_string(width) + 'x' + std::to_string(height) + ' ';
        ASSERT_LE(at + 2 + width * height, icons.size());
        const auto color = [&](double x, double y) {
            return icons[at + 2 + std::size_t(y * double(height)) * width + std::size_t(x * double(width))] &
                   0xFFFFFFFF;
        };
        EXPECT_LT(color(0, 0) >> 24, 60u) << "round corners";
        EXPECT_EQ(color(0.5, 0.78), 0xFFE8B04Au) << "the key in the middle is played";
        EXPECT_EQ(color(0.5, 0.03), 0xFF1B2028u) << "the edge";
    }
    EXPECT_EQ(sizes, "16x16 24x24 32x32 48x48 64x64 128x128 256x256 ");
    EXPECT_EQ(player.end(), 0);
}

// ---- Ways to end

enum systems { everywhere, linux_only, windows_only };

struct ending {
    const char* name;
    void (*end)(player_under_test&);
    systems on = everywhere;
};

class live_end : public testing::TestWithParam<ending> {};

TEST_P(live_end, is_normal_and_silences_what_sounds) {
    if (GetParam().on == (under_test().windows ? linux_only : windows_only))
        GTEST_SKIP() << "the system has no such end";
    player_under_test player;
    ASSERT_TRUE(player.open_window());
    player.drive("keydown z");
    GetParam().end(player);
    EXPECT_EQ(player.program().wait(), 0);
    EXPECT_EQ(player.played(), "91 2d 7f; 91 2d 00");
    EXPECT_FALSE(player.display().has_window(window_title));
}

const ending endings[] = {
    {"escape", [](player_under_test& player) { player.drive_on("key Escape"); }},
    {"window_closed", [](player_under_test& player) { player.display().request_close(player.window()); }},
    {"window_destroyed_by_others",
     [](player_under_test& player) { player.drive_on("windowclose " + std::to_string(player.window())); },
     linux_only},
    {"interrupt", [](player_under_test& player) { player.interrupt(); }},
    {"two_interrupts",
     [](player_under_test& player) {
         player.interrupt();
         player.interrupt();
     }},
    {"terminate", [](player_under_test& player) { player.program().send_signal(SIGTERM); }, linux_only},
    {"hang_up", [](player_under_test& player) { player.program().send_signal(SIGHUP); }, linux_only},
    {"break", [](player_under_test& player) { player.console_event(1); }, windows_only},
    {"console_closed", [](player_under_test& player) { player.console_event(2); }, windows_only},
    {"logged_off", [](player_under_test& player) { player.console_event(5); }, windows_only},
};
INSTANTIATE_TEST_SUITE_P(player, live_end, testing::ValuesIn(endings), name_of<ending>);

TEST(live_player, an_interrupt_at_any_moment_of_the_start_is_a_normal_end) {
    virtual_display display;
    for (int delay = 0; delay <= 300; delay += delay < 60 ? 5 : 40) {
        player_under_test player(display, {"-p", "7"});
        ASSERT_TRUE(player.program().wait_for_out("select write device")) << player.program().err();
        std::this_thread::sleep_for(milliseconds(delay));
        player.interrupt();
        EXPECT_EQ(player.program().wait(), 0) << delay << ": " << player.program().err();
        EXPECT_EQ(player.traced(), "") << delay;
        // From nothing to everything, in order; what was begun is ended.
        const std::string all = std::string("c1 07; ") + greeting + "; " + display_reset;
        const std::string sent = player.sent();
        EXPECT_TRUE(sent.empty() || sent == all || sent == std::string("c1 07; ") + display_reset) << sent;
    }
}

TEST(live_player, a_display_that_dies_ends_the_notes) {
    if (under_test().windows) GTEST_SKIP() << "the display is Wine's";
    player_under_test player;
    ASSERT_TRUE(player.open_window());
    player.drive("keydown z");
    EXPECT_TRUE(player.display().repeats_keys()) << "also when the program is killed";
    const std::string name = player.display().name();
    player.display().kill();
    EXPECT_EQ(player.program().wait(), 1);
    // The driver may add a line about the display of its own.
    EXPECT_TRUE(player.traced().starts_with("key: 0x7a, 'z', note: 45\nlost display '" + name + "'\n"))
        << player.traced();
    EXPECT_EQ(player.played(), "91 2d 7f; 91 2d 00");
}

TEST(live_player, nobody_reading_the_traces_is_no_reason_to_stop) {
    if (under_test().windows) GTEST_SKIP() << "there is no such signal";
    virtual_display display;
    const temporary_directory directory;
    process shell(
        {"sh", "-c", "\"$0\" 'MIDI file' 2>&- & echo $!; wait $!; echo ended $?", under_test().command[0]},
        {{{"DISPLAY", display.name()}}, directory.path()});
    ASSERT_TRUE(shell.wait_for_out("\n"));
    const auto window = display.find_window(window_title);
    ASSERT_NE(window, 0u);
    display.focus(window);
    display.drive("keydown z keyup z key Escape");
    EXPECT_TRUE(shell.wait_for_out("ended 0"));
}

// ---- Without a window

TEST(live_player, command_lines) {
    const system_under_test& system = under_test();
    const std::string path = system.windows ? "" : system.command[0]; // as Wine shows it, it differs
    const std::string usage =
        "usage: " + path + " [-c ch] [-p pgm] [-n notebase] [-l vel] <device>\n\noutput devices:\n";
    const std::string list = "\noutput devices:\n";
    const std::string listed = run(system.command).out;
    const std::string refusal =
        ">= " + std::to_string(std::ranges::count(listed, '\n') - 3) + ": devid over.\n";
    struct {
        std::vector<std::string> arguments;
        int exit_code;
        std::string out, err; // out: where it begins
    } const cases[] = {
        {{}, 0, usage, ""},
        {{"-c"}, 1, usage, ""},
        {{"--help"}, 0, usage, ""},
        {{"--version"}, 0, "Quenvarel 2.2.0\nusage: ", ""},
        {{"--nonsense", "0"}, 1, "options before the device:\n  --help", "--nonsense: no such option.\n"},
        {{"-c", "-1", "0"}, 1, "", "4294967295: channel number over.\n"},
        {{"-p", "99999999999", "0"}, 1, "", "4294967295: pgmchg number over.\n"},
        {{"-x", "3"}, 1, list, "-x: device name not found.\n-x: midiout open() failed.\n"},
        {{"1a"}, 1, list, "1a: device name not found.\n1a: midiout open() failed.\n"},
        {{"-"}, 1, list, "-1" + refusal + "-: midiout open() failed.\n"},
        {{"-3"}, 1, list, "-4" + refusal + "-3: midiout open() failed.\n"},
        {{"99"}, 1, list, "99" + refusal + "99: midiout open() failed.\n"},
        {{"4294967296"}, 1, list, "2147483647" + refusal + "4294967296: midiout open() failed.\n"},
        {{"--soundfont=a.sf2", "99"},
         1,
         system.windows ? "" : list,
         system.windows
             ? "--soundfont: Windows has no synthesizer of ours. Its devices bring their own sounds.\n"
             : "99" + refusal + "99: midiout open() failed.\n"},
    };
    const temporary_directory directory;
    for (const auto& c : cases) {
        std::vector<std::string> command = system.command;
        command.insert(command.end(), c.arguments.begin(), c.arguments.end());
        process_result result = run(command, {{}, directory.path()});
        for (std::string* text : {&result.out, &result.err})
            std::erase(*text, '\r');
        if (system.windows && result.out.starts_with("usage: "))
            result.out.erase(7, result.out.find(" [-c ch]") - 7);
        EXPECT_EQ(result.exit_code, c.exit_code) << testing::PrintToString(c.arguments);
        EXPECT_EQ(result.err, c.err);
        EXPECT_EQ(result.out.substr(0, c.out.size()), c.out);
        if (c.out.empty()) {
            EXPECT_EQ(result.out, "");
        }
    }
    EXPECT_TRUE(std::filesystem::is_empty(directory.path())) << "no device was opened";
}

TEST(live_player, no_display_is_one_clear_line) {
    if (under_test().windows) GTEST_SKIP() << "the display is Wine's";
    const temporary_directory directory;
    for (const char* display : {"", ":4711", "nonsense"}) {
        const process_result result =
            run({under_test().command[0], "MIDI file"}, {{{"DISPLAY", display}}, directory.path()});
        EXPECT_EQ(result.exit_code, 1);
        EXPECT_EQ(result.err, "failed to open display '" + std::string(display) + "'\n");
        EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
    }
}

TEST(live_player, a_desktop_shows_why_it_does_not_start) {
    if (under_test().windows) GTEST_SKIP() << "there is a console";
    const temporary_directory directory;
    virtual_display display;
    const process_options menu = {{{"DISPLAY", display.name()}, {"GIO_LAUNCHED_DESKTOP_FILE", "quenvarel"}},
                                  directory.path()};
    const char title[] = "Quenvarel cannot start";
    for (const bool by_key : {true, false}) {
        process program({under_test().command[0], "no such device"}, menu);
        const virtual_display::window window = display.find_window(title);
        ASSERT_NE(window, 0u);
        const auto has_text = [&] {
            const picture shown = display.screenshot(window);
            return std::ranges::count(shown.rgba, 0) > 3 * 500;
        };
        EXPECT_TRUE(jack_server::until(has_text));
        if (by_key && display.focus(window))
            display.drive("key x");
        else
            display.request_close(window);
        EXPECT_EQ(program.wait(), 1);
    }
    process program({under_test().command[0], "--soundfont=none", "FluidSynth to WAV"}, menu);
    EXPECT_EQ(play_a_note(display, program), 0);
    EXPECT_EQ(program.err().find("none: no SoundFont"), 0u);
    EXPECT_FALSE(display.has_window(title)) << "it did start";
}

} // namespace
