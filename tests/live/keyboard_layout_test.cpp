// What real layouts write on the keys of the two manuals.

#include "app/key_places.h"
#include "support/gl_window.h"
#include "virtual_display.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

// Last: it defines macros with common names.
#include <X11/XKBlib.h>

using namespace test_support;

namespace {

std::string utf8(char32_t c) {
    if (c == 0) return "-";
    if (c < 0x80) return {char(c)};
    if (c < 0x800) return {char(0xC0 | c >> 6), char(0x80 | (c & 0x3F))};
    return {char(0xE0 | c >> 12), char(0x80 | (c >> 6 & 0x3F)), char(0x80 | (c & 0x3F))};
}

std::string shown(const std::optional<quenvarel::typing>& typing) {
    if (!typing) return "nowhere";
    return (typing->with_shift ? "Shift " : "") + std::to_string(typing->place);
}

TEST(keyboard_layout, says_what_is_written_on_the_keys) {
    static virtual_display display; // ends after the connection that GLUT closes at the exit
    setenv("DISPLAY", display.name().c_str(), 1);
    ASSERT_TRUE(make_context_current());
    quenvarel::key_places places(quenvarel::keyboard_layout::of_current_window());
    EXPECT_FALSE(places.update());
    const struct {
        const char *layout, *written, *at, *star; // where at and the star are typed
        bool as_drawn;
    } cases[] = {
        {"gb", "2356790=qwertyuiop[]asfgjkl'#zxcvbnm,./;", "Shift 48", "Shift 17", false},
        {"us", "2356790=qwertyuiop[]asfgjkl'\\zxcvbnm,./;", "Shift 11", "Shift 17", false},
        {"de", "2356790´qwertzuiopü+asfgjklä#yxcvbnm,.-ö", "nowhere", "Shift 35", false},
        {"fr", "é\"(-èçà=azertyuiop^$qsfgjklù*wxcvbn,;:!m", "nowhere", "51", false},
        {"us(dvorak)", "2356790]',.pyfgcrl/=aouihtn-\\;qjkxbmwvzs", "Shift 11", "Shift 17", false},
        {"jp", "2356790^qwertyuiop@[asfgjkl:]zxcvbnm,./\\", "34", "Shift 48", true},
        {"ru", "2356790=йцукенгшщзхъфыаполдэ\\ячсмитьбю.ж", "nowhere", "Shift 17", false},
    };
    const auto follows = [&] {
        const auto end = std::chrono::steady_clock::now() + generous;
        while (!places.update() && std::chrono::steady_clock::now() < end)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        while (places.update()) {
        } // a change comes in several pieces
        std::string written;
        for (const quenvarel::note_key& key : places.notes())
            written += utf8(key.written);
        return written;
    };
    for (const auto& c : cases) {
        display.set_layout(c.layout);
        EXPECT_EQ(follows(), c.written) << c.layout;
        EXPECT_EQ(shown(places.typing_of('@')), c.at) << c.layout;
        EXPECT_EQ(shown(places.typing_of('*')), c.star) << c.layout;
        EXPECT_EQ(places.written_as_drawn(), c.as_drawn) << c.layout;
    }
    // The second of two layouts, which a key would choose.
    display.set_layout("us,de");
    EXPECT_EQ(follows(), cases[1].written);
    Display* const user = XOpenDisplay(display.name().c_str());
    XkbLockGroup(user, XkbUseCoreKbd, 1);
    XCloseDisplay(user);
    EXPECT_EQ(follows(), cases[2].written);
}

} // namespace
