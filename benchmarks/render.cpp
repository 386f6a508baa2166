// As many surfaces as a keyboard has, drawn by the renderer and by the barest loop that draws the same
// pixels; and the frame pass on the GPU.

#include "gl_calls.h"
#include "goals.h"
#include "libgr/texture/environment.h"
#include "libgr/texture/surface_texture.h"
#include "pmt3d/mirror/polygon_mirror.h"
#include "render/gl/framebuffer.h"
#include "render/math/matrix.h"
#include "render/math/projection.h"
#include "render/surface/glpolygon.h"
#include "support/gl_window.h"

#include <benchmark/benchmark.h>

#include <GL/glew.h>

#include <cmath>
#include <cstdlib>
#include <deque>
#include <optional>

namespace {

constexpr int width = 800, height = 200, surfaces = 128;
constexpr int columns = 31, rows = 11; // 600 triangles

// Sees with which of its programs the renderer draws.
struct program_of_mirror : pmt3d::polygon_mirror {
    using polygon_mirror::polygon_mirror;
    static inline GLint last_seen = 0;
    void draw() override {
        if (last_seen == 0) glGetIntegerv(GL_CURRENT_PROGRAM, &last_seen);
        polygon_mirror::draw();
    }
};

struct scene {
    render::glpolygon_t renderer;
    std::deque<pmt3d::polygon_t> shapes;
    std::deque<program_of_mirror> mirrors;
    libgr::texture_t dress;
    libgr::environment_t around;
    render::framebuffer_t target;
    render::mtx3w projection;
    std::deque<render::mtx3w> placed, inverses;

    explicit scene(int samples) {
        if (!test_support::make_context_current() || !renderer.init("")) std::exit(EXIT_FAILURE);
        target.allocate(width, height, samples);
        glEnable(GL_DEPTH_TEST);
        glViewport(0, 0, width, height);
        dress.open("");
        around.initex("");
        around.reflectalpha = 0.2f;
        projection =
            render::perspective_matrix(render::to_projection({1.5, double(width) / height, 0.1, 100}));
        for (int i = 0; i < surfaces; ++i) {
            fill(shapes.emplace_back());
            mirrors.emplace_back(shapes.back());
            const float x = (float(i) - 63.5f) * 0.6f;
            placed.push_back(render::mtx3w::translation(x, 0, -40) *
                             render::to_matrix(render::rot3{30, {1, 0, 0}}));
            inverses.push_back(render::inverse(placed.back()));
        }
    }

    // A slightly arched strip, as large on the screen as a key.
    static void fill(pmt3d::polygon_t& shape) {
        shape.allocate(columns * rows, (rows - 1) * (2 * columns + 1));
        auto vertices = shape.edit_vertices();
        auto frames = shape.edit_normals();
        auto elements = shape.edit_elements();
        std::size_t e = 0;
        for (std::uint32_t j = 0; j < rows; ++j) {
            for (std::uint32_t i = 0; i < columns; ++i) {
                const float u = float(i) / (columns - 1), v = float(j) / (rows - 1);
                auto& vertex = vertices[j * columns + i];
                vertex.position = {(u - 0.5f) * 0.55f, 0.1f * std::sin(3.1415927f * u), (0.5f - v) * 8};
                vertex.color = {0.9f, 0.9f, 0.85f, 1};
                vertex.texcoord = {u, v};
                frames[j * columns + i] = {{1, 0, 0}, {0, 0, -1}, {0, 1, 0}};
                if (j > 0) {
                    elements[e++] = j * columns + i;
                    elements[e++] = (j - 1) * columns + i;
                }
            }
            if (j > 0) elements[e++] = render::restart_index;
        }
        shape.rebuildpolyids();
    }

    void clear() const {
        target.bind();
        glClearColor(0.1f, 0.1f, 0.12f, 1);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    }
    void draw() {
        for (int i = 0; i < surfaces; ++i) {
            renderer.drawsolid(&around, false, dress, mirrors[std::size_t(i)], render::mtx3w::identity(),
                               placed[std::size_t(i)], inverses[std::size_t(i)], projection, {-25, 25, 50},
                               10);
        }
    }
    // The same picture, with only the differences between the surfaces set for each.
    void draw_bare() {
        // The renderer has set all uniforms of its program when it drew a surface.
        const auto program = GLuint(program_of_mirror::last_seen);
        const GLint modelview = glGetUniformLocation(program, "Modelview"),
                    inverse_modelview = glGetUniformLocation(program, "invModelview");
        glUseProgram(program);
        for (const auto unit :
             {render::texture_unit::color, render::texture_unit::bump, render::texture_unit::specular}) {
            glActiveTexture(GL_TEXTURE0 + unsigned(unit));
            dress.bind(unit);
        }
        glActiveTexture(GL_TEXTURE0 + render::environment_unit);
        around.bind_cube();
        glEnable(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        for (std::size_t i = 0; i < std::size_t(surfaces); ++i) {
            glUniformMatrix4fv(modelview, 1, GL_TRUE, placed[i].m);
            glUniformMatrix4fv(inverse_modelview, 1, GL_TRUE, inverses[i].m);
            mirrors[i].draw();
        }
        glDisable(GL_BLEND);
        glUseProgram(0);
        glActiveTexture(GL_TEXTURE0);
    }
};

scene& smooth() {
    static scene made(4);
    return made;
}
scene& plain() {
    static scene made(0);
    return made;
}

void frame(benchmark::State& state, scene& what, void (scene::*draw)()) {
    what.clear();
    program_of_mirror::last_seen = 0;
    what.draw();
    glFinish();
    std::uint64_t calls = 0;
    {
        const benchmarks::gl_call_count count;
        (what.*draw)();
        calls = benchmarks::gl_call_count::calls();
    }
    for (auto _ : state) {
        what.clear();
        (what.*draw)();
        what.target.resolve({0, 0, width, height});
        glFinish();
    }
    state.counters["gl_calls_per_surface"] = double(calls) / surfaces;
}
void frame_ours(benchmark::State& state) {
    frame(state, plain(), &scene::draw);
}
BENCHMARK(frame_ours)->MeasureProcessCPUTime()->Unit(benchmark::kMillisecond);
void frame_bare(benchmark::State& state) {
    frame(state, plain(), &scene::draw_bare);
}
BENCHMARK(frame_bare)->MeasureProcessCPUTime()->Unit(benchmark::kMillisecond);
void frame_smooth(benchmark::State& state) {
    frame(state, smooth(), &scene::draw);
}
BENCHMARK(frame_smooth)->MeasureProcessCPUTime()->Unit(benchmark::kMillisecond);

const benchmarks::goal frame_goals[] = {
    {{"128 surfaces of 600 triangles at 800 by 200", "frame_ours", "frame_bare", "bare draws", 1.2,
      "toolkit"}},
    {{"GL calls for each of them", "frame_ours", "frame_bare", "bare draws", {}, {}, "gl_calls_per_surface"}},
};

// The renderer's work on the processor alone: nothing is rasterised.
void submit(benchmark::State& state, void (scene::*draw)()) {
    scene& what = plain();
    what.clear();
    program_of_mirror::last_seen = 0;
    what.draw();
    glEnable(GL_RASTERIZER_DISCARD);
    for (auto _ : state) {
        (what.*draw)();
        glFinish();
    }
    glDisable(GL_RASTERIZER_DISCARD);
    state.SetItemsProcessed(state.iterations() * surfaces);
}
void submit_ours(benchmark::State& state) {
    submit(state, &scene::draw);
}
BENCHMARK(submit_ours)->Unit(benchmark::kMicrosecond);
void submit_bare(benchmark::State& state) {
    submit(state, &scene::draw_bare);
}
BENCHMARK(submit_bare)->Unit(benchmark::kMicrosecond);

// The frame pass, for different numbers of vertices.
void frame_pass(benchmark::State& state) {
    scene& what = plain();
    pmt3d::polygon_t shape;
    const auto count = std::uint64_t(state.range(0));
    pmt3d::polygon_mirror mirror(shape);
    shape.allocate(count, 3);
    for (auto& d : shape.edit_wknmls())
        d = {{1, 0, 0.1f}, {0, 1, 0}, {1, 0.1f, 0}, {0.2f, 1, 0}};
    for (auto _ : state) {
        what.renderer.update_frames(mirror);
        glFinish();
    }
    state.SetItemsProcessed(state.iterations() * std::int64_t(count));
}
BENCHMARK(frame_pass)->Arg(341)->Arg(1 << 16)->Unit(benchmark::kMicrosecond);

} // namespace
