// The routing of events, without a window; the live tests drive it with real ones.

#include "app/gluty.h"
#include "app/held_keys.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace {

struct noted : gems::glutyAPI4 {
    std::string calls;
    void note(const char* name, std::initializer_list<int> arguments) {
        calls += name;
        for (const int argument : arguments)
            calls += ' ' + std::to_string(argument);
        calls += ';';
    }
    void mouse(int button, int state, int x, int y) override { note("mouse", {button, state, x, y}); }
    void mousewheel(int wheel, int direction, int x, int y) override {
        note("wheel", {wheel, direction, x, y});
    }
};

TEST(registry, mouse_buttons_beyond_the_third_are_wheels_that_count_on_release) {
    struct {
        int button, state;
        const char* calls;
    } const cases[] = {
        {0, 0, "mouse 0 0 7 8;"},
        {2, 1, "mouse 2 1 7 8;"},
        {3, 0, ""},
        {3, 1, "wheel 0 1 7 8;"},
        {4, 1, "wheel 0 -1 7 8;"},
        {5, 1, "wheel 1 1 7 8;"},
        {6, 0, ""},
        {6, 1, "wheel 1 -1 7 8;"},
        {std::numeric_limits<int>::max(), 1, "wheel 1073741822 1 7 8;"},
        {-1, 1, ""},
        {std::numeric_limits<int>::min(), 0, ""},
    };
    for (const auto& c : cases) {
        noted handler;
        gems::gluty_registry::route_mouse(handler, c.button, c.state, 7, 8);
        EXPECT_EQ(handler.calls, c.calls) << c.button << ' ' << c.state;
    }
}

TEST(registry, a_handler_that_overrides_nothing_takes_everything) {
    gems::glutyAPI4 deaf;
    gems::glutyAPI4& handler = deaf;
    handler.init();
    handler.reshape(0, 0);
    handler.display();
    handler.keyboard(255, -1, -1);
    handler.special(-1, 0, 0);
    handler.passivemotion(0, 0);
    handler.motion(0, 0);
    handler.idle();
    gems::gluty_registry::route_mouse(handler, 3, 1, 0, 0);
    handler.keyboardup(0, 0, 0);
    handler.specialup(0, 0, 0);
    handler.closing();
}

TEST(held_keys, a_press_without_a_release_before_it_is_a_repetition) {
    gems::held_keys held;
    const gems::key_siblings& layout = gems::letter_cases();
    const auto press = [&](unsigned key) { return held.press(key, layout); };
    EXPECT_TRUE(press('a'));
    EXPECT_FALSE(press('a'));
    EXPECT_TRUE(press('b'));
    held.release('a', layout);
    EXPECT_TRUE(press('a'));
    // Shift came in between: the key repeats, and comes up, as a capital.
    EXPECT_FALSE(press('A'));
    held.release('A', layout);
    EXPECT_TRUE(press('a'));
    EXPECT_FALSE(press('b'));
    EXPECT_TRUE(press(256 + 'a')) << "a key without a character";
    held.forget();
    EXPECT_TRUE(press('b'));
    EXPECT_TRUE(press(~0u));
    held.release(~0u, layout);
    EXPECT_TRUE(press(~0u));
}

TEST(registry, without_a_window) {
    ASSERT_NE(gems::registry, nullptr);
    EXPECT_EQ(gems::registry->createwindow(nullptr, "title"), -1);
    EXPECT_EQ(gems::registry->handler(4711), nullptr);
    const gems::glutyAPI4 nobody;
    EXPECT_EQ(gems::registry->system(nobody), nullptr);
    gems::registry->postredisplay();
    gems::registry->setkeyrepeat(false);
    gems::registry->setidle(true);
    gems::registry->setidle(false);
}

} // namespace
