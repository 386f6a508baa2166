// How long a window takes to draw the keyboard, whole and after one key, and to find the key under the
// pointer; and how long it takes for a whole large screen. On a virtual display, so with the software
// renderer.

#include "priority.h"
#include "report.h"

#include "app/home_view.h"
#include "app/key_glow.h"
#include "app/keyboard_view.h"
#include "app/window_system.h"
#include "live/virtual_display.h"
#include "render/gl/framebuffer.h"
#include "render/gl/step_check.h"

#include <GL/glew.h>

#include <GL/freeglut.h>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace {

using clock = std::chrono::steady_clock;
using quenvarel::keyboard_view;

constexpr int width = 800, height = 200;
constexpr int large_width = 3840, large_height = 2160;

// Of all threads, in seconds.
double processor_time() {
    timespec now;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

// Times repeated work; afterwards() is not timed. The time of all processors together is reported beside it,
// since other programs disturb that less.
template <class Action, class Afterwards = void (*)()>
double measure(
    const std::string& what, int times, std::optional<double> most, const benchmarks::bound& limit,
    Action action, Afterwards afterwards = [] {}) {
    benchmarks::result made(what);
    made.most = most;
    made.limit = limit;
    benchmarks::result busy(what + ", all processors");
    for (int i = 0; i < times; ++i) {
        const double spent = processor_time();
        const auto begin = clock::now();
        action(i);
        made.ours.push_back(std::chrono::duration<double>(clock::now() - begin).count());
        busy.ours.push_back(processor_time() - spent);
        afterwards();
    }
    benchmarks::report(made);
    if (most) benchmarks::report(busy);
    return benchmarks::median(made.ours);
}

struct goals_t {
    double whole, one_key, chord; // seconds
};

void measure_redraws(keyboard_view& view, const std::function<void()>& frame, double aspect, int times,
                     const std::string& size, const std::optional<goals_t>& goals,
                     const benchmarks::bound& empty) {
    const auto goal = [&](double goals_t::*which) {
        return goals ? std::optional(*goals.*which) : std::nullopt;
    };
    const auto turn_over = [&](int key) {
        if (view.scene().pressed(key))
            view.release(key);
        else
            view.press(key);
    };
    const quenvarel::camera_t home = quenvarel::home_camera(aspect);
    measure("redrawing the whole keyboard" + size, times, goal(&goals_t::whole), empty, [&](int) {
        view.look(home);
        frame();
    });
    measure("redrawing while the view turns" + size, times / 2, {}, empty, [&](int i) {
        quenvarel::camera_t turned = home;
        turned.eye.x += 0.01f * float(i + 1);
        view.look(turned);
        frame();
    });
    view.look(home);
    frame();
    view.draw(); // takes its time to prepare for keys
    measure(
        "redrawing after one key" + size, times, goal(&goals_t::one_key), empty,
        [&](int i) {
            view.press(i * 37 % 128);
            frame();
        },
        [&] { // all keys at rest again, and none fading
            view.release_all(clock::now() - quenvarel::glow_fades_in);
            frame();
        });
    measure("redrawing after a chord of two hands" + size, 2 * times, goal(&goals_t::chord), empty,
            [&](int i) {
                for (const int key : {36, 43, 48, 76, 79, 84})
                    turn_over(key + i / 2 % 12);
                frame();
            });
    view.release_all();
}

} // namespace

int main(int argc, char** argv) {
    benchmarks::go_before_others(benchmarks::going_first::with_all_that_it_starts);
    test_support::virtual_display display;
    setenv("DISPLAY", display.name().c_str(), 1);
    glutInit(&argc, argv);
    glutInitDisplayMode(GLUT_DOUBLE | GLUT_ALPHA | GLUT_DEPTH);
    glutInitWindowSize(width, height);
    glutCreateWindow("keyboard_redraw");
    if (!render::load_gl()) return 1;

    keyboard_view view;
    std::ostringstream missing;
    std::streambuf* const out = std::cout.rdbuf(missing.rdbuf());
    view.open("", QUENVAREL_BIN "/quenvarel.pmt");
    std::cout.rdbuf(out);
    if (!missing.str().empty()) {
        std::cerr << missing.str();
        return 1;
    }
    view.resize(width, height);
    view.look(quenvarel::home_camera(double(width) / height));
    const auto finish = [] {
        glutSwapBuffers();
        glFinish();
    };
    const auto window = gems::window_system::of_current_window();
    const auto frame = [&] { // as the player does it
        view.draw();
        if (window->keeps_picture()) {
            window->show_parts(view.show_changes().parts());
            glFinish();
        } else {
            view.show();
            finish();
        }
    };
    for (int key = 0; key < 128; ++key) { // so that all shaders are compiled
        view.press(key);
        frame();
    }
    view.release_all();
    frame();

    benchmarks::report_fact("OpenGL renderer", reinterpret_cast<const char*>(glGetString(GL_RENDERER)));
    benchmarks::report_fact("samples a pixel", std::to_string(view.samples()));
    const benchmarks::bound empty = {"toolkit", measure("an empty picture", 100, {}, {}, [&](int) {
                                         glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
                                         finish();
                                     })};
    measure_redraws(view, frame, double(width) / height, 100, "", {{16e-3, 2e-3, 8e-3}}, empty);
    int hits = 0;
    measure("picking: the key at a pixel", 8000, 50e-6, {},
            [&](int i) { hits += view.key_at(i % width, 70 + i / width * 6).has_value(); });
    std::printf("%d of 8000 pixels showed a key\n", hits);
    {
        // A window of that size would lie beyond the screen.
        render::framebuffer_t screen;
        if (!screen.allocate(large_width, large_height, 0)) return 1;
        screen.bind();
        GLint name = 0;
        glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &name);
        view.resize(large_width, large_height);
        const auto large_frame = [&] {
            view.draw();
            view.show_changes(render::gl_uint(name));
            glFinish();
        };
        measure_redraws(view, large_frame, double(large_width) / large_height, 10, ", 3840 by 2160", {}, {});
    }
    view.close();
    glutExit(); // while there is still a display
}
