// Numbering the triangles of a polygon surface and filling in frames, against a loop that only reads the
// elements.

#include "goals.h"
#include "pmt3d/surface/nurbs_tessellation.h"
#include "pmt3d/surface/polygon.h"

#include <benchmark/benchmark.h>
#include <utility>

namespace {

// A flat grid with or without frames: one key's size, and a large one.
pmt3d::polygon_t grid(std::uint32_t side, bool frames) {
    pmt3d::polygon_t polygon;
    polygon.allocate(std::uint64_t(side) * side, pmt3d::grid_element_count(side, side));
    for (std::uint32_t j = 0; j < side; ++j)
        for (std::uint32_t i = 0; i < side; ++i)
            polygon.edit_vertices()[j * side + i].position = {float(i), 0, float(j)};
    if (frames)
        for (pmt3d::frame_t& f : polygon.edit_normals())
            f = {{1, 0, 0}, {0, 0, 1}, {0, 1, 0}};
    pmt3d::grid_elements(side, side, polygon.edit_elements());
    return polygon;
}

void count_elements(benchmark::State& state, const pmt3d::polygon_t& polygon) {
    state.SetItemsProcessed(std::int64_t(state.iterations() * polygon.element_count()));
}

// Reads every element and follows the strips, but only counts the triangles.
void read_elements(benchmark::State& state) {
    const pmt3d::polygon_t polygon = grid(std::uint32_t(state.range(0)), true);
    for (auto _ : state) {
        std::uint64_t triangles = 0, length = 0;
        for (const pmt3d::element_t element : polygon.getelements()) {
            length = element < polygon.vertex_count() ? length + 1 : 0;
            triangles += length >= 3;
        }
        benchmark::DoNotOptimize(triangles);
    }
    count_elements(state, polygon);
}
void rebuildpolyids(benchmark::State& state) {
    pmt3d::polygon_t polygon = grid(std::uint32_t(state.range(0)), true);
    for (auto _ : state)
        polygon.rebuildpolyids();
    count_elements(state, polygon);
}
void rebuildpolyids_and_fill(benchmark::State& state) {
    pmt3d::polygon_t polygon = grid(std::uint32_t(state.range(0)), false);
    for (auto _ : state) {
        state.PauseTiming();
        std::fill(polygon.edit_normals().begin(), polygon.edit_normals().end(), pmt3d::frame_t{});
        state.ResumeTiming();
        polygon.rebuildpolyids();
    }
    count_elements(state, polygon);
    // Reads every element, position and frame once, and writes every frame once.
    state.counters["bytes_moved"] =
        double(polygon.element_count() * sizeof(pmt3d::element_t) +
               polygon.vertex_count() * (sizeof(pmt3d::vertex_t) + 2 * sizeof(pmt3d::frame_t)));
}
// Reads what frames come from and writes as much, without thinking.
void move_frames(benchmark::State& state) {
    pmt3d::polygon_t polygon = grid(std::uint32_t(state.range(0)), false);
    const auto frames = polygon.edit_normals();
    std::fill(frames.begin(), frames.end(), pmt3d::frame_t{}); // which is there then
    for (auto _ : state) {
        pmt3d::element_t all = 0;
        for (const pmt3d::element_t element : polygon.getelements())
            all ^= element;
        benchmark::DoNotOptimize(all);
        const auto vertices = std::as_const(polygon).vertices();
        for (std::size_t i = 0; i < frames.size(); ++i) {
            const auto [x, y, z] = vertices[i].position;
            frames[i] = {{x, y, z}, {y, z, x}, {z, x, y}};
        }
        benchmark::ClobberMemory();
    }
    count_elements(state, polygon);
}
BENCHMARK(move_frames)->Arg(725)->UseRealTime();
BENCHMARK(read_elements)->Arg(18)->Arg(725)->UseRealTime();
BENCHMARK(rebuildpolyids)->Arg(18)->Arg(725)->UseRealTime();
BENCHMARK(rebuildpolyids_and_fill)->Arg(725)->UseRealTime();

const benchmarks::goal goals[] = {
    {{"numbering a key's 600 triangles", "rebuildpolyids/18", "read_elements/18", "reading loop", 4.0}},
    {{"numbering a million triangles", "rebuildpolyids/725", "read_elements/725", "reading loop", 4.0}},
    {{"numbering and frames of a million", "rebuildpolyids_and_fill/725", "move_frames/725",
      "moving the bytes", 1.5}},
};

} // namespace
