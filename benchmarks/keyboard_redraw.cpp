// How long a window takes to draw the keyboard, whole and after one key, and to find the key under the
// pointer. On a virtual display, so with the software renderer.

#include "app/keyboard_view.h"
#include "app/quenvarel.h"
#include "live/virtual_display.h"
#include "render/gl/step_check.h"

#include <GL/glew.h>

#include <GL/freeglut.h>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <vector>

namespace {

using clock = std::chrono::steady_clock;
using quenvarel::keyboard_view;

constexpr int width = 800, height = 200;

// Prints the times of something done over and over; the fastest counts, the rest is other programs' doing.
template <class Action>
void measure(const char* what, int times, double most, const char* unit, double units_a_second,
             Action action) {
    std::vector<double> taken;
    for (int i = 0; i < times; ++i) {
        const auto begin = clock::now();
        action(i);
        taken.push_back(std::chrono::duration<double>(clock::now() - begin).count() * units_a_second);
    }
    std::sort(taken.begin(), taken.end());
    std::printf("%-34s %8.2f %8.2f %8.2f %s  at most %.0f: %s\n", what, taken.front(),
                taken[taken.size() / 2], taken[taken.size() * 99 / 100], unit, most,
                taken.front() <= most ? "held" : "MISSED");
}

} // namespace

int main(int argc, char** argv) {
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
    view.look(quenvarel::Quenvarel::home_camera());
    const auto frame = [&] {
        view.draw();
        view.show();
        glutSwapBuffers();
        glFinish();
    };
    const auto turn_over = [&](int key) {
        if (view.scene().pressed(key))
            view.release(key);
        else
            view.press(key);
    };
    for (int key = 0; key < 128; ++key) { // all shaders are compiled then
        turn_over(key);
        frame();
    }
    view.release_all();
    frame();

    std::printf("%d samples a pixel\n%-34s %8s %8s %8s\n", view.samples(), "", "fastest", "median", "p99");
    measure("the whole keyboard", 100, 16, "ms", 1e3, [&](int) {
        view.look(quenvarel::Quenvarel::home_camera());
        frame();
    });
    measure("after one key", 1000, 2, "ms", 1e3, [&](int i) {
        turn_over(i * 37 % 128);
        frame();
    });
    measure("after a chord of two hands", 200, 16, "ms", 1e3, [&](int i) {
        for (const int key : {36, 43, 48, 76, 79, 84})
            turn_over(key + i / 2 % 12);
        frame();
    });
    int hits = 0;
    measure("the key at a pixel", 8000, 50, "us", 1e6,
            [&](int i) { hits += view.key_at(i % width, 70 + i / width * 6).has_value(); });
    std::printf("%d of 8000 pixels showed a key\n", hits);
    view.close();
}
