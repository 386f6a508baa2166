#include "app/gluty.h"

#include "app/window_system.h"

#include <GL/freeglut.h>

namespace gems {

namespace {

gluty_registry the_registry;

// How often the loop wakes on its own, to see requests that arrive outside of it. In milliseconds.
constexpr unsigned tick_interval = 20;

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
    windows_[window] = handler;
    return window;
}

void gluty_registry::setidle(bool on) {
    idle_ = on;
    if (!initialised()) return;
    glutIdleFunc(on ? +[] { deliver([](glutyAPI4& handler) { handler.idle(); }); } : nullptr);
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

window_system* gluty_registry::current_system() {
    const auto found = systems_.find(glutGetWindow());
    return found != systems_.end() ? found->second.get() : nullptr;
}

window_system* gluty_registry::system_of_key_event() {
    window_system* system = current_system();
    if (!system) return nullptr;
    const int modifiers = glutGetModifiers();
    system->set_modifiers(modifiers & GLUT_ACTIVE_SHIFT, modifiers & GLUT_ACTIVE_CTRL);
    return system;
}

bool gluty_registry::knows_repetitions() {
    const window_system* system = current_system();
    return system && system->knows_repetitions();
}

template <class Event>
void gluty_registry::deliver_press(unsigned key, Event event) {
    window_system* system = registry->system_of_key_event();
    const bool repetition = system && system->is_repetition(key);
    if (!repetition || registry->key_repeat_) deliver(event);
}

void gluty_registry::release_told(unsigned key, int x, int y) {
    window_system* system = registry->system_of_key_event();
    if (system) key = system->went_down_as(key);
    deliver_release(system, key, x, y);
}

void gluty_registry::deliver_release(window_system* system, unsigned key, int x, int y) {
    if (system) system->is_released(key);
    deliver([=](glutyAPI4& handler) {
        if (key < first_special)
            handler.keyboardup(static_cast<unsigned char>(key), x, y);
        else
            handler.specialup(static_cast<int>(key - first_special), x, y);
    });
}

void gluty_registry::mainloop() {
    if (!leaving_ && !callbacks_installed_) install_callbacks();
    if (!leaving_) {
        glutSetOption(GLUT_ACTION_ON_WINDOW_CLOSE, GLUT_ACTION_GLUTMAINLOOP_RETURNS);
        glutTimerFunc(tick_interval, tick, 0);
        glutMainLoop();
    }
    leaving_ = false; // the next one is to be entered
}

void gluty_registry::install_callbacks() {
    if (has_window()) systems_[glutGetWindow()] = window_system::of_current_window();
    for (const auto& [window, handler] : windows_)
        if (handler) handler->init();
    setidle(idle_);
    setkeyrepeat(key_repeat_);

    glutReshapeFunc(
        [](int width, int height) { deliver([=](glutyAPI4& handler) { handler.reshape(width, height); }); });
    glutDisplayFunc([] {
        deliver([](glutyAPI4& handler) {
            if (!registry->leaving_) handler.display(); // nobody will look at it
        });
    });
    glutKeyboardFunc([](unsigned char key, int x, int y) {
        deliver_press(key, [=](glutyAPI4& handler) { handler.keyboard(key, x, y); });
    });
    glutSpecialFunc([](int key, int x, int y) {
        deliver_press(special_key(key), [=](glutyAPI4& handler) { handler.special(key, x, y); });
    });
    glutMouseFunc([](int button, int state, int x, int y) {
        deliver([=](glutyAPI4& handler) { route_mouse(handler, button, state, x, y); });
    });
    glutMotionFunc([](int x, int y) { deliver([=](glutyAPI4& handler) { handler.motion(x, y); }); });
    glutPassiveMotionFunc(
        [](int x, int y) { deliver([=](glutyAPI4& handler) { handler.passivemotion(x, y); }); });
    glutKeyboardUpFunc([](unsigned char key, int x, int y) { release_told(key, x, y); });
    glutSpecialUpFunc([](int key, int x, int y) { release_told(special_key(key), x, y); });
    glutMouseWheelFunc([](int wheel, int direction, int x, int y) {
        deliver([=](glutyAPI4& handler) { handler.mousewheel(wheel, direction, x, y); });
    });
    glutCloseFunc([] {
        deliver([](glutyAPI4& handler) { handler.closing(); });
        // Whatever still comes for this window goes nowhere.
        const int window = glutGetWindow();
        registry->windows_[window] = nullptr;
        registry->systems_.erase(window);
    });
    callbacks_installed_ = true;
}

template <class Event>
void gluty_registry::deliver(Event event) {
    if (glutyAPI4* handler = registry->handler(glutGetWindow())) event(*handler);
    if (registry->leaving_) glutLeaveMainLoop();
}

void gluty_registry::tick(int) {
    for (const auto& [window, system] : registry->systems_) {
        if (!system) continue;
        if (system->focus_lost()) {
            glutSetWindow(window);
            deliver([](glutyAPI4& handler) { handler.focuslost(); });
        }
        while (const auto key = system->unseen_release()) {
            glutSetWindow(window);
            system->set_modifiers(false, false);
            deliver_release(system.get(), *key, 0, 0);
        }
        if (system->window_gone()) registry->leavemainloop();
    }
    if (registry->leaving_) glutLeaveMainLoop();
    glutTimerFunc(tick_interval, tick, 0);
}

void gluty_registry::route_mouse(glutyAPI4& handler, int button, int state, int x, int y) {
    if (button >= 0 && button < 3)
        handler.mouse(button, state, x, y);
    else if (button >= 3 && state != GLUT_DOWN)
        handler.mousewheel((button - 3) / 2, button % 2 == 1 ? 1 : -1, x, y);
}

void gluty_registry::postredisplay() {
    if (has_window()) glutPostRedisplay();
}

void gluty_registry::redisplay_in(unsigned milliseconds) {
    if (!has_window() || !awaiting_redisplay_.insert(glutGetWindow()).second) return;
    glutTimerFunc(
        milliseconds,
        [](int window) {
            registry->awaiting_redisplay_.erase(window);
            glutPostWindowRedisplay(window);
        },
        glutGetWindow());
}

void gluty_registry::swapbuffers() {
    if (has_window()) glutSwapBuffers();
}

void gluty_registry::initwindowsize(int width, int height) {
    glutInitWindowSize(width, height);
}

const window_system* gluty_registry::system(const glutyAPI4& handler) const {
    for (const auto& [window, bound] : windows_) {
        const auto found = systems_.find(window);
        if (bound == &handler && found != systems_.end()) return found->second.get();
    }
    return nullptr;
}

} // namespace gems
