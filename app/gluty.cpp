#include "app/gluty.h"

#include "app/window_system.h"

#include <GL/freeglut.h>

#include <algorithm>
#include <utility>

namespace gems {

namespace {

gluty_registry the_registry;

// How often the loop wakes on its own, should nothing have told it of something to do. In milliseconds.
constexpr unsigned tick_interval = 1000;
// The same where nobody can tell it.
constexpr unsigned tick_interval_unheard = 20;

// The number of a key without a character, beyond those of the characters. GLUT's codes are not negative.
unsigned special_key(int code) {
    return first_special + static_cast<unsigned>(code);
}

bool initialised() {
    return glutGet(GLUT_INIT_STATE) != 0;
}

bool has_window() {
    return initialised() && glutGetWindow() != 0;
}

} // namespace

gluty_registry* registry;

gluty_registry::gluty_registry() {
    registry = this;
}

gluty_registry::~gluty_registry() {
    registry = nullptr;
}

int gluty_registry::createwindow(glutyAPI4* handler, const char* title) {
    if (!handler) return -1;
    const int window = glutCreateWindow(title);
    windows_[window].handler = handler;
    return window;
}

glutyAPI4* gluty_registry::handler(int window) {
    return windows_[window].handler;
}

void gluty_registry::setidle(bool on) {
    idle_ = on;
    if (!initialised()) return;
    // An idle loop does not sleep, unless we do.
    if (on)
        glutIdleFunc([] {
            deliver([](glutyAPI4& handler) { handler.idle(); });
            sleep();
        });
    else
        glutIdleFunc(sleeps_itself_ ? sleep : nullptr);
}

void gluty_registry::setkeyrepeat(bool on) {
    key_repeat_ = on;
    if (!initialised()) return;
    // On X11 GLUT takes a release for a repetition when the key is down at the moment it looks, not when it
    // was released: late by a frame, it would drop fast repeated notes and start held ones anew. Where the
    // window system knows better, GLUT passes everything on.
    const bool from_glut = on || knows_repetitions();
    glutSetKeyRepeat(from_glut ? GLUT_KEY_REPEAT_ON : GLUT_KEY_REPEAT_OFF);
}

bool gluty_registry::knows_repetitions() {
    const bound_window& current = windows_[glutGetWindow()];
    return current.system && current.system->knows_repetitions();
}

void gluty_registry::key_event(unsigned gives, bool pressed, int x, int y) {
    bound_window& at = registry->windows_[glutGetWindow()];
    std::optional<unsigned> place;
    if (at.system) {
        place = at.system->place_of_key(gives, pressed);
        catch_up(at);
    }
    if (pressed) {
        gives = given_at(at, place, gives);
        // GLUT's own filter has let it through.
        if (!registry->knows_repetitions()) at.keys.release(place, gives);
        if (at.keys.press(place, gives) || registry->key_repeat_) deliver_key(gives, true, x, y);
    } else if (const auto as = at.keys.release(place, gives)) {
        deliver_key(*as, false, x, y);
    }
}

// What counts of a key.
unsigned gluty_registry::given_at(const bound_window& at, std::optional<unsigned> place, unsigned gives) {
    const auto stands_for = place && at.handler ? at.handler->placed(*place) : std::nullopt;
    return stands_for ? first_placed + *stands_for : gives;
}

void gluty_registry::deliver_key(unsigned gives, bool pressed, int x, int y) {
    deliver([=](glutyAPI4& handler) {
        const auto character = static_cast<unsigned char>(gives);
        const int code = static_cast<int>(gives - first_special);
        if (gives < first_special)
            pressed ? handler.keyboard(character, x, y) : handler.keyboardup(character, x, y);
        else if (gives >= first_placed)
            pressed ? handler.placedkey(character) : handler.placedkeyup(character);
        else
            pressed ? handler.special(code, x, y) : handler.specialup(code, x, y);
    });
}

// Tells the handler of the current window what has happened that GLUT does not tell.
void gluty_registry::catch_up(bound_window& at) {
    const auto release = [](unsigned gives) { deliver_key(gives, false, 0, 0); };
    while (const auto news = at.system->next_news())
        switch (news->what) {
        case keyboard_news::pressed:
            press_placed(at, news->place);
            break;
        case keyboard_news::released:
            if (const auto as = at.keys.release(news->place)) release(*as);
            break;
        case keyboard_news::lost:
            at.keys.leave(
                [&](unsigned gives) {
                    return gives < first_special && at.handler &&
                           at.handler->staysdown(static_cast<unsigned char>(gives));
                },
                release);
            deliver([](glutyAPI4& handler) { handler.focuslost(); });
            break;
        case keyboard_news::regained:
            at.keys.come_back(news->down, release);
        }
}

void gluty_registry::mainloop() {
    if (!leaving_ && !callbacks_installed_) install_callbacks();
    if (!leaving_) {
        glutSetOption(GLUT_ACTION_ON_WINDOW_CLOSE, GLUT_ACTION_GLUTMAINLOOP_RETURNS);
        set_tick();
        glutMainLoop();
    }
    leaving_ = false; // the next one is to be entered
}

void gluty_registry::install_callbacks() {
    if (has_window())
        windows_[glutGetWindow()].system = window_system::of_current_window({news_waits, placed_key});
    for (const auto& [name, window] : windows_)
        if (window.handler) window.handler->init();
    for (const auto& [name, window] : windows_)
        if (window.system) window.system->answer_rings(answer_calls);
    sleeps_itself_ =
        has_window() && windows_[glutGetWindow()].system && windows_[glutGetWindow()].system->sleeps_itself();
    setidle(idle_);
    setkeyrepeat(key_repeat_);

    glutReshapeFunc(
        [](int width, int height) { deliver([=](glutyAPI4& handler) { handler.reshape(width, height); }); });
    glutDisplayFunc([] {
        deliver([](glutyAPI4& handler) {
            if (!registry->leaving_) handler.display(); // nobody will look at it
        });
    });
    glutKeyboardFunc([](unsigned char key, int x, int y) { key_event(key, true, x, y); });
    glutSpecialFunc([](int key, int x, int y) { key_event(special_key(key), true, x, y); });
    glutMouseFunc([](int button, int state, int x, int y) {
        deliver([=](glutyAPI4& handler) { route_mouse(handler, button, state, x, y); });
    });
    glutMotionFunc([](int x, int y) { deliver([=](glutyAPI4& handler) { handler.motion(x, y); }); });
    glutPassiveMotionFunc(
        [](int x, int y) { deliver([=](glutyAPI4& handler) { handler.passivemotion(x, y); }); });
    glutKeyboardUpFunc([](unsigned char key, int x, int y) { key_event(key, false, x, y); });
    glutSpecialUpFunc([](int key, int x, int y) { key_event(special_key(key), false, x, y); });
    glutMouseWheelFunc([](int wheel, int direction, int x, int y) {
        deliver([=](glutyAPI4& handler) { handler.mousewheel(wheel, direction, x, y); });
    });
    glutCloseFunc([] {
        deliver([](glutyAPI4& handler) { handler.closing(); });
        // Whatever still comes for this window goes nowhere.
        registry->windows_[glutGetWindow()] = {};
    });
    callbacks_installed_ = true;
}

template <class Event>
void gluty_registry::deliver(Event event) {
    if (glutyAPI4* handler = registry->handler(glutGetWindow())) event(*handler);
    if (registry->leaving_) glutLeaveMainLoop();
}

void gluty_registry::set_tick() {
    const bool hears = has_window() && windows_[glutGetWindow()].system;
    const unsigned interval = hears ? tick_interval : tick_interval_unheard;
    next_tick_ = std::chrono::steady_clock::now() + std::chrono::milliseconds(interval);
    glutTimerFunc(interval, tick, 0);
}

void gluty_registry::call() noexcept {
    window_system::ring();
}

void gluty_registry::leavemainloop() noexcept {
    leaving_ = true;
    window_system::ring();
}

void gluty_registry::answer_calls() {
    if (registry->leaving_) return glutLeaveMainLoop();
    if (registry->answers_soon_) return;
    for (const auto& [name, window] : registry->windows_) {
        if (!window.handler) continue;
        glutSetWindow(name);
        registry->answers_soon_ = window.handler->called() || registry->answers_soon_;
    }
    if (!registry->answers_soon_) return;
    // Not at once: the answers to an endless stream of calls would keep everything else waiting.
    glutTimerFunc(
        1,
        [](int) {
            registry->answers_soon_ = false;
            answer_calls();
        },
        0);
}

// GLUT sleeps until there is an event or its next timer, and hears no bell.
void gluty_registry::sleep() {
    look_around();
    bound_window& current = registry->windows_[glutGetWindow()];
    if (!registry->sleeps_itself_ || !current.system || registry->leaving_) return;
    using std::chrono::milliseconds;
    if (std::exchange(registry->goes_on_, false) || registry->idle_ || registry->answers_soon_)
        return current.system->sleep(milliseconds(0));
    auto until = registry->next_tick_;
    for (const auto& [window, when] : registry->next_redisplay_)
        until = std::min(until, when);
    // GLUT's timers count whole milliseconds: a little too early it would have nothing to do.
    const auto left =
        std::chrono::ceil<milliseconds>(until - std::chrono::steady_clock::now()) + milliseconds(1);
    current.system->sleep(std::max(left, milliseconds(0)));
}

// For what has come in while GLUT handled its events, and from elsewhere.
void gluty_registry::look_around() {
    for (auto& [name, window] : registry->windows_) {
        if (!window.system) continue;
        glutSetWindow(name);
        window.system->end_of_round();
        catch_up(window);
        if (window.system->window_gone()) registry->leavemainloop();
    }
    for (const auto& [name, window] : registry->windows_)
        if (window.handler && !registry->leaving_) window.handler->lookaround();
    if (registry->leaving_) glutLeaveMainLoop();
}

void gluty_registry::news_waits() {
    static bool waits = false;
    if (std::exchange(waits, true)) return;
    registry->goes_on_ = true;
    glutTimerFunc(
        0,
        [](int) {
            waits = false;
            look_around();
        },
        0);
}

bool gluty_registry::placed_key(unsigned place, bool pressed) {
    bound_window& at = registry->windows_[glutGetWindow()];
    catch_up(at);
    if (pressed) return press_placed(at, place);
    if (const auto as = at.keys.release(place)) deliver_key(*as, false, 0, 0);
    return true;
}

// Whether it counts by its place.
bool gluty_registry::press_placed(bound_window& at, unsigned place) {
    const unsigned gives = given_at(at, place, 0);
    if (gives < first_placed) return false;
    if (at.keys.press(place, gives)) deliver_key(gives, true, 0, 0);
    return true;
}

void gluty_registry::tick(int) {
    look_around();
    answer_calls();
    registry->set_tick();
}

void gluty_registry::route_mouse(glutyAPI4& handler, int button, int state, int x, int y) {
    if (button >= 0 && button < 3)
        handler.mouse(button, state, x, y);
    else if (button >= 3 && state != GLUT_DOWN)
        handler.mousewheel((button - 3) / 2, button % 2 == 1 ? 1 : -1, x, y);
}

void gluty_registry::postredisplay() {
    if (!has_window()) return;
    goes_on_ = true;
    glutPostRedisplay();
}

void gluty_registry::redisplay_in(unsigned milliseconds) {
    if (!has_window()) return;
    const auto when = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    const auto [awaited, is_new] = next_redisplay_.emplace(glutGetWindow(), when);
    if (!is_new && awaited->second <= when) return;
    awaited->second = when; // a later one that GLUT waits for comes to nothing
    glutTimerFunc(
        milliseconds,
        [](int window) {
            if (registry->next_redisplay_.erase(window) == 0) return;
            registry->goes_on_ = true;
            glutPostWindowRedisplay(window);
        },
        glutGetWindow());
}

void gluty_registry::handle_keys() {
    if (!has_window()) return;
    bound_window& at = windows_[glutGetWindow()];
    if (!at.system) return;
    at.system->handle_keys(key_event);
    catch_up(at);
}

void gluty_registry::swapbuffers() {
    if (has_window()) glutSwapBuffers();
}

bool gluty_registry::keepspicture() {
    window_system* const system = has_window() ? windows_[glutGetWindow()].system.get() : nullptr;
    return system && system->keeps_picture();
}

void gluty_registry::showparts(std::span<const render::pixel_rect> parts) {
    if (has_window()) windows_[glutGetWindow()].system->show_parts(parts);
}

void gluty_registry::settitle(const char* title) {
    if (has_window()) glutSetWindowTitle(title);
}

void gluty_registry::initwindowsize(int width, int height) {
    glutInitWindowSize(width, height);
}

} // namespace gems
