// The routing of events, without a window; the live tests drive it with real ones.

#include "app/gluty.h"
#include "app/held_keys.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <sstream>

TEST(registry, without_a_window_there_is_no_handler) {
    ASSERT_NE(gems::registry, nullptr);
    EXPECT_EQ(gems::registry->createwindow(nullptr, "title"), -1);
    EXPECT_EQ(gems::registry->handler(4711), nullptr);
}

TEST(registry, mouse_buttons_beyond_the_third_are_wheels_that_count_on_release) {
    struct : gems::glutyAPI4 {
        std::ostringstream calls;
        void mouse(int button, int state, int, int y) override { calls << "mouse " << button << state << y; }
        void mousewheel(int wheel, int direction, int x, int) override {
            calls << "wheel " << wheel << ' ' << direction << x;
        }
    } handler;
    struct {
        int button, state;
        const char* calls;
    } const cases[] = {
        {0, 0, "mouse 008"},   {2, 1, "mouse 218"},  {3, 0, ""}, {3, 1, "wheel 0 17"},
        {4, 1, "wheel 0 -17"}, {5, 1, "wheel 1 17"}, {6, 0, ""}, {INT_MAX, 1, "wheel 1073741822 17"},
        {-1, 1, ""},           {INT_MIN, 0, ""},
    };
    for (const auto& c : cases) {
        handler.calls.str("");
        gems::gluty_registry::route_mouse(handler, c.button, c.state, 7, 8);
        EXPECT_EQ(handler.calls.str(), c.calls) << c.button << ' ' << c.state;
    }
}

// Presses "+PLACE:GIVES" and releases "-PLACE:GIVES", without a place where it is unknown; "-PLACE:" without
// what it gives; "leave:" with the space bar staying down; "back:PLACE" with that key down.
TEST(held_keys, tell_repetitions_and_what_comes_up) {
    struct {
        const char *what, *events, *told;
    } const cases[] = {
        {"a repetition, then as a capital", "+1:a +1:A +2:b -1:A -2:b +1:a", "+a +b -a -b +a "},
        {"two keys with one character", "+1:/ +2:/ -1:/ -2:/", "+/ +/ -/ -/ "},
        {"the last place", "+511:a +511:a +0:b -511:a -0:b", "+a +b -a -b "},
        {"no character comes up", "+1:a -1: -1:", "+a -a "},
        {"not seen to go down", "-1:a", ""},
        {"no places", "+:a +:a +:b -:a -:A -:b", "+a +b -a -A -b "},
        {"no place at first", "+:a -1:a -1:a", "+a -a "},
        {"elsewhere", "+1:a +:b leave: -1:a -:b +1:a", "+a +b -a -b -b +a "},
        {"space comes up elsewhere", "+1:_ +2:a leave: back:2 +2:a -2:a +1:_", "+_ +a -a -_ +_ "},
        {"space stays down", "+1:_ leave: back:1 +1:_ -1:_", "+_ -_ "},
        {"space without a place", "+:_ leave: back:1", "+_ -_ "},
        {"what was down before is silent", "back:1 +1:a leave: -1:a +1:a", "+a "},
    };
    for (const auto& c : cases) {
        gems::held_keys held;
        std::string told;
        const auto release = [&](unsigned gives) { told += {'-', char(gives), ' '}; };
        std::istringstream words(c.events);
        for (std::string word; words >> word;) {
            const std::size_t colon = word.find(':');
            std::optional<unsigned> place, up;
            if (colon > 1) place = unsigned(std::atoi(&word[1]));
            const unsigned gives = std::uint8_t(word[colon + 1]);
            if (word == "leave:")
                held.leave([](unsigned key) { return key == '_'; }, release);
            else if (word[0] == 'b')
                held.come_back(gems::key_set().set(gives - '0'), release);
            else if (word[0] == '-')
                up = gives ? held.release(place, gives) : held.release(*place);
            else if (held.press(place, gives))
                told += {'+', char(gives), ' '};
            if (up) release(*up);
        }
        EXPECT_EQ(told, c.told) << c.what;
    }
    gems::held_keys held;
    EXPECT_TRUE(held.press({}, ~0u) && held.press({}, ~0u)) << "what no key gives";
    EXPECT_EQ(held.release({}, ~0u), ~0u);
}
