// How long a window takes to draw the keyboard, whole and after one key, and to find the key under the
// pointer. On a virtual display, so with the software renderer.

#include "priority.h"
#include "report.h"

#include "app/home_view.h"
#include "app/key_glow.h"
#include "app/keyboard_view.h"
#include "live/virtual_display.h"
#include "render/gl/step_check.h"

#include <GL/glew.h>

#include <GL/freeglut.h>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using clock = std::chrono::steady_clock;
using quenvarel::keyboard_view;

constexpr int width = 800, height = 200;

// Of all threads, in seconds.
double processor_time() {
    timespec now;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

// Times repeated work. The time of all processors together is reported beside it, since other programs
// disturb that less.
template <class Action>
double measure(const char* what, int times, std::optional<double> most, const benchmarks::bound& limit,
               Action action) {
    benchmarks::result made(what);
    made.most = most;
    made.limit = limit;
    benchmarks::result busy(std::string(what) + ", all processors");
    for (int i = 0; i < times; ++i) {
        const double spent = processor_time();
        const auto begin = clock::now();
        action(i);
        made.ours.push_back(std::chrono::duration<double>(clock::now() - begin).count());
        busy.ours.push_back(processor_time() - spent);
    }
    benchmarks::report(made);
    if (most) benchmarks::report(busy);
    return benchmarks::median(made.ours);
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
    const auto frame = [&] {
        view.draw();
        view.show();
        finish();
    };
    const auto turn_over = [&](int key) {
        if (view.scene().pressed(key))
            view.release(key);
        else
            view.press(key);
    };
    for (int key = 0; key < 128; ++key) { // so that all shaders are compiled
        turn_over(key);
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
    measure("redrawing the whole keyboard", 100, 16e-3, empty, [&](int) {
        view.look(quenvarel::home_camera(double(width) / height));
        frame();
    });
    measure("redrawing while the view turns", 40, {}, empty, [&](int i) {
        quenvarel::camera_t turned = quenvarel::home_camera(double(width) / height);
        turned.eye.x += 0.01f * float(i + 1);
        view.look(turned);
        frame();
    });
    view.look(quenvarel::home_camera(double(width) / height));
    frame();
    view.draw(); // takes its time to prepare for keys
    // Each goes down: a key that comes up would go on fading in the pictures of the next ones.
    measure("redrawing after one key", 120, 2e-3, empty, [&](int i) {
        view.press(i * 37 % 128);
        frame();
    });
    view.release_all();
    std::this_thread::sleep_for(2 * quenvarel::glow_fades_in);
    frame();
    measure("redrawing after a chord of two hands", 200, 8e-3, empty, [&](int i) {
        for (const int key : {36, 43, 48, 76, 79, 84})
            turn_over(key + i / 2 % 12);
        frame();
    });
    int hits = 0;
    measure("picking: the key at a pixel", 8000, 50e-6, {},
            [&](int i) { hits += view.key_at(i % width, 70 + i / width * 6).has_value(); });
    std::printf("%d of 8000 pixels showed a key\n", hits);
    view.close();
    glutExit(); // while there is still a display
}
