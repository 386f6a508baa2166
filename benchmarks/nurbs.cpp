// NURBS surfaces: a bicubic net of 16 by 16 points on a grid of 257 by 257.

#include "goals.h"
#include "pmt3d/surface/nurbs_tessellation.h"

#include <GeomAdaptor_Surface.hxx>
#include <Geom_BSplineSurface.hxx>
#include <TColStd_Array1OfInteger.hxx>
#include <TColStd_Array1OfReal.hxx>
#include <TColStd_Array2OfReal.hxx>
#include <TColgp_Array2OfPnt.hxx>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <random>
#include <utility>
#include <vector>

namespace {

constexpr int points = 16, order = 4, spans = points - order + 1;
constexpr std::uint32_t samples = 257;

// One surface for both.
struct net {
    std::vector<float> knots, knots1, knots2, weights;
    std::vector<pmt3d::control_point_t> control;

    net() : weights(points * points), control(points * points) {
        for (int i = 0; i < points + order; ++i)
            knots.push_back(std::clamp(float(i - order + 1) / spans, 0.0f, 1.0f));
        for (int row = 0; row < points; ++row) {
            knots1.insert(knots1.end(), knots.begin(), knots.end());
            knots2.insert(knots2.end(), knots.begin(), knots.end());
        }
        std::mt19937 random(1);
        std::uniform_real_distribution<float> number(0.5f, 1.5f);
        for (int j = 0; j < points; ++j) {
            for (int i = 0; i < points; ++i) {
                control[j * points + i] = {{float(i), number(random), float(j)},
                                           {number(random), 0.5f, 0.5f, 1}};
                weights[j * points + i] = number(random);
            }
        }
    }
    pmt3d::nurbs_net view() const {
        return {points, order, points, order, knots1.data(), knots2.data(), weights.data(), control.data()};
    }
};

Handle(Geom_BSplineSurface) occt_surface(const net& n) {
    TColgp_Array2OfPnt poles(1, points, 1, points);
    TColStd_Array2OfReal weights(1, points, 1, points);
    for (int j = 0; j < points; ++j) {
        for (int i = 0; i < points; ++i) {
            const render::pos3& p = n.control[j * points + i].position;
            poles(i + 1, j + 1) = gp_Pnt(p.x, p.y, p.z);
            weights(i + 1, j + 1) = n.weights[j * points + i];
        }
    }
    TColStd_Array1OfReal knots(1, spans + 1);
    TColStd_Array1OfInteger multiplicities(1, spans + 1);
    for (int k = 0; k <= spans; ++k) {
        knots(k + 1) = double(n.knots[k + order - 1]);
        multiplicities(k + 1) = k == 0 || k == spans ? order : 1;
    }
    return new Geom_BSplineSurface(poles, weights, knots, knots, multiplicities, multiplicities, order - 1,
                                   order - 1);
}

void count(benchmark::State& state, std::size_t points_made, std::size_t bytes_each = 0) {
    state.SetItemsProcessed(std::int64_t(state.iterations() * points_made));
    state.counters["bytes_moved"] = double(points_made * bytes_each);
}

void grid_ours(benchmark::State& state) {
    const net n;
    std::vector<pmt3d::vertex_t> grid(samples * samples);
    for (auto _ : state) {
        pmt3d::evaluate_grid(n.view(), samples, samples, grid);
        benchmark::DoNotOptimize(grid.data());
    }
    count(state, grid.size(), sizeof(pmt3d::vertex_t));
}
void grid_occt(benchmark::State& state) {
    const net n;
    const GeomAdaptor_Surface surface(occt_surface(n)); // caches the polynomials of the last span
    std::vector<gp_Pnt> grid(samples * samples);
    for (auto _ : state) {
        for (std::uint32_t j = 0; j < samples; ++j)
            for (std::uint32_t i = 0; i < samples; ++i)
                surface.D0(double(i) / (samples - 1), double(j) / (samples - 1), grid[j * samples + i]);
        benchmark::DoNotOptimize(grid.data());
    }
    count(state, grid.size());
    // It is the same surface.
    std::vector<pmt3d::vertex_t> ours(grid.size());
    pmt3d::evaluate_grid(n.view(), samples, samples, ours);
    double worst = 0;
    for (std::size_t at = 0; at < grid.size(); ++at) {
        const render::pos3& p = ours[at].position;
        worst = std::max(worst, grid[at].Distance(gp_Pnt(p.x, p.y, p.z)));
    }
    if (worst > 1e-5) {
        std::cerr << "the two surfaces are " << worst << " apart\n";
        std::exit(1);
    }
}
// Every second row has inner knots of its own, so that four rows count at each point.
void grid_own_knots(benchmark::State& state) {
    net n;
    for (int row = 1; row < points; row += 2)
        for (int i = order; i < points; ++i)
            n.knots1[row * (points + order) + i] += 1e-4f;
    std::vector<pmt3d::vertex_t> grid(samples * samples);
    for (auto _ : state) {
        pmt3d::evaluate_grid(n.view(), samples, samples, grid);
        benchmark::DoNotOptimize(grid.data());
    }
    count(state, grid.size(), sizeof(pmt3d::vertex_t));
}
BENCHMARK(grid_ours)->Unit(benchmark::kMicrosecond);
BENCHMARK(grid_own_knots)->Unit(benchmark::kMicrosecond);
BENCHMARK(grid_occt)->Unit(benchmark::kMicrosecond);

// What frames are made of: our differences between neighbours, their derivatives.
void grid_and_steps_ours(benchmark::State& state) {
    const net n;
    std::vector<pmt3d::vertex_t> grid(samples * samples);
    std::vector<pmt3d::differences_t> steps(grid.size());
    for (auto _ : state) {
        pmt3d::evaluate_grid(n.view(), samples, samples, grid);
        pmt3d::grid_steps(grid, samples, samples, steps);
        benchmark::DoNotOptimize(steps.data());
    }
    count(state, grid.size(), sizeof(pmt3d::vertex_t) + sizeof(pmt3d::differences_t));
}
void grid_and_derivatives_occt(benchmark::State& state) {
    const net n;
    const GeomAdaptor_Surface surface(occt_surface(n));
    std::vector<gp_Pnt> grid(samples * samples);
    std::vector<std::pair<gp_Vec, gp_Vec>> derivatives(grid.size());
    for (auto _ : state) {
        for (std::uint32_t j = 0; j < samples; ++j)
            for (std::uint32_t i = 0; i < samples; ++i) {
                const std::uint32_t at = j * samples + i;
                surface.D1(double(i) / (samples - 1), double(j) / (samples - 1), grid[at],
                           derivatives[at].first, derivatives[at].second);
            }
        benchmark::DoNotOptimize(derivatives.data());
    }
    count(state, grid.size());
}
BENCHMARK(grid_and_steps_ours)->Unit(benchmark::kMicrosecond);
BENCHMARK(grid_and_derivatives_occt)->Unit(benchmark::kMicrosecond);

const benchmarks::goal goals[] = {
    {{"NURBS, 257 by 257 points", "grid_ours", "grid_occt", "Open CASCADE, cached", 1 / 5.0}},
    {{"NURBS, points and tangents", "grid_and_steps_ours", "grid_and_derivatives_occt",
      "Open CASCADE, cached"}},
    {{"NURBS, knots of their own", "grid_own_knots", "grid_ours", "shared knots", 5.0}},
};

} // namespace
