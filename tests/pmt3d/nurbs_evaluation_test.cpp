#include "pmt3d/surface/frames.h"
#include "pmt3d/surface/nurbs_tessellation.h"
#include "render/math/operations.h"

#include "support/capture.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <iostream>
#include <limits>
#include <random>
#include <vector>

namespace {

using pmt3d::control_point_t;
using pmt3d::nurbs_net;
using test_support::capture;

// Tables of a net that the tests fill.
struct tables {
    std::size_t m, k1, n, k2;
    std::vector<float> knots1 = std::vector<float>(n * (m + k1)), knots2 = std::vector<float>(m * (n + k2)),
                       weights = std::vector<float>(m * n, 1.0f);
    std::vector<control_point_t> points = std::vector<control_point_t>(m * n);

    nurbs_net net() const {
        return {m, k1, n, k2, knots1.data(), knots2.data(), weights.data(), points.data()};
    }
    control_point_t& at(std::size_t j, std::size_t i) { return points[j * m + i]; }
};

// Gives every row (or column) these knots.
void repeat(std::vector<float>& rows, const std::vector<float>& knots) {
    for (std::size_t at = 0; at < rows.size(); ++at)
        rows[at] = knots[at % knots.size()];
}

// A uniform clamped knot vector from 0 to 1.
std::vector<float> clamped(std::size_t count, std::size_t order) {
    std::vector<float> knots;
    for (std::size_t i = 0; i < count + order; ++i)
        knots.push_back(std::clamp((float(i) - float(order - 1)) / float(count - order + 1), 0.0f, 1.0f));
    return knots;
}

// Gives the rows (or columns) from `first` on inner knots of their own; each has `length`, of that order.
void scatter(std::vector<float>& knots, std::size_t length, std::size_t order, std::size_t first,
             unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> number(0.0f, 1.0f);
    for (std::size_t at = first * length; at < knots.size(); at += length) {
        const auto begin = knots.begin() + std::ptrdiff_t(at), end = begin + std::ptrdiff_t(length);
        for (auto knot = begin + std::ptrdiff_t(order); knot < end - std::ptrdiff_t(order); ++knot)
            *knot = number(random);
        std::sort(begin, end);
    }
}

tables random_net(std::size_t m, std::size_t k1, std::size_t n, std::size_t k2, unsigned seed) {
    tables t{m, k1, n, k2};
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> number(-2.0f, 2.0f), weight(0.5f, 3.0f);
    for (control_point_t& p : t.points)
        p = {{number(random), number(random), number(random)}, {number(random), number(random), 0.5f, 1.0f}};
    for (float& w : t.weights)
        w = weight(random);
    repeat(t.knots1, clamped(m, k1));
    repeat(t.knots2, clamped(n, k2));
    return t;
}

// B(i, k, t) by its definition.
float basis(std::size_t i, std::size_t k, float t, const float* knots) {
    if (k == 1) return knots[i] != knots[i + 1] && knots[i] <= t && t <= knots[i + 1] ? 1.0f : 0.0f;
    const float a = basis(i, k - 1, t, knots), b = basis(i + 1, k - 1, t, knots);
    const float left = knots[i + k - 1] - knots[i], right = knots[i + k] - knots[i + 1];
    return (a == 0 || left == 0 ? 0 : (t - knots[i]) / left * a) +
           (b == 0 || right == 0 ? 0 : (knots[i + k] - t) / right * b);
}

std::array<float, 7> floats(const control_point_t& p) {
    return std::bit_cast<std::array<float, 7>>(p);
}

// The surface by its definition, term by term, in double precision.
control_point_t by_definition(const nurbs_net& net, float u, float v) {
    double sum[8] = {};
    for (std::size_t j = 0; j < net.n; ++j) {
        for (std::size_t i = 0; i < net.m; ++i) {
            const double c = double(basis(i, net.k1, u, net.knots1 + j * (net.m + net.k1))) *
                             net.weights[j * net.m + i] *
                             basis(j, net.k2, v, net.knots2 + i * (net.n + net.k2));
            const std::array<float, 7> values = floats(net.points[j * net.m + i]);
            for (int k = 0; k < 7; ++k)
                sum[k] += c * values[k];
            sum[7] += c;
        }
    }
    std::array<float, 7> quotient;
    for (int k = 0; k < 7; ++k)
        quotient[k] = float(sum[k] / sum[7]);
    return std::bit_cast<control_point_t>(quotient);
}

void expect_near(const control_point_t& a, const control_point_t& b, float tolerance) {
    for (int k = 0; k < 7; ++k)
        EXPECT_NEAR(floats(a)[k], floats(b)[k], tolerance) << k;
}

TEST(nurbs_basis, all_functions_at_once_equal_one_at_a_time) {
    // Clamped, open, with repeated inner knots, with all knots alike, descending, and not a number.
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<std::vector<float>> vectors = {
        {0, 0, 0, 0, 0.25f, 0.5f, 0.75f, 1, 1, 1, 1},
        {-0.3f, -0.2f, -0.1f, 0, 0.3f, 0.6f, 1, 1.1f, 1.2f, 1.3f, 1.4f},
        {0, 0, 0, 0.5f, 0.5f, 0.5f, 0.5f, 0.8f, 1, 1, 1},
        {0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f},
        {1, 0.9f, 0.7f, 0.6f, 0.5f, 0.4f, 0.3f, 0.2f, 0.1f, 0, 0},
        {0, 0.9f, 0.1f, 0.8f, 0.2f, 0.7f, 0.3f, 1, 0.4f, 0.6f, 0.5f},
        {0, 0, 0, 0.3f, 0.5f, nan, 0.7f, 1, 1, 1, 1},
    };
    pmt3d::basis_t functions;
    for (const std::vector<float>& knots : vectors) {
        for (std::size_t order = 1; order <= 10; ++order) {
            const std::size_t count = knots.size() - order;
            for (const float t : {-1.0f, 0.0f, 0.1f, 0.25f, 0.5f, 0.55f, 0.9999f, 1.0f, 1.3f, 2.0f}) {
                std::vector<float> all(count, 0.0f);
                const pmt3d::basis_values found = functions.evaluate({count, order, knots.data()}, t);
                ASSERT_LE(found.first + found.values.size(), count);
                std::copy(found.values.begin(), found.values.end(),
                          all.begin() + std::ptrdiff_t(found.first));
                for (std::size_t i = 0; i < count; ++i) {
                    const float expected = basis(i, order, t, knots.data());
                    EXPECT_TRUE(all[i] == expected || (std::isnan(all[i]) && std::isnan(expected)))
                        << "order " << order << ", t " << t << ", function " << i << ": " << all[i];
                }
            }
        }
    }
}

TEST(nurbs_evaluation, agrees_with_the_definition) {
    const std::array<std::size_t, 4> shapes[] = {{2, 2, 2, 2}, {4, 4, 4, 4}, {7, 3, 5, 4},
                                                 {9, 6, 8, 7}, {1, 1, 3, 2}, {5, 1, 4, 3}};
    unsigned seed = 1;
    for (const auto& [m, k1, n, k2] : shapes) {
        // All rows and columns share their knots; the last row or column has its own; each has its own.
        for (const auto& [row, column] : {std::pair(n, m), {n - 1, m}, {n, m - 1}, {0ul, 0ul}}) {
            tables t = random_net(m, k1, n, k2, seed++);
            scatter(t.knots1, m + k1, k1, row, seed);
            scatter(t.knots2, n + k2, k2, column, seed + 1);
            std::vector<pmt3d::vertex_t> grid(9 * 7);
            pmt3d::evaluate_grid(t.net(), 9, 7, grid);
            for (std::size_t at = 0; at < grid.size(); ++at) {
                const float u = float(at % 9) / 8, v = float(at / 9) / 6;
                SCOPED_TRACE(testing::Message() << m << " by " << n << ": " << u << ", " << v);
                const control_point_t expected = by_definition(t.net(), u, v);
                EXPECT_EQ(grid[at].texcoord, (render::txc2{u, v}));
                expect_near({grid[at].position, grid[at].color}, expected, 2e-6f);
                expect_near(pmt3d::nurbs_surface(t.net(), u, v), expected, 2e-6f);
            }
        }
    }
}

TEST(nurbs_evaluation, borders_stand_in_where_the_knots_do_not_reach) {
    // Weights of 0 leave every sum at 0, except for the curves whose border has weights.
    tables t = random_net(3, 2, 3, 2, 3);
    std::fill(t.weights.begin(), t.weights.end(), 0.0f);
    const auto expect_at = [&](float u, float v, const control_point_t& expected) {
        SCOPED_TRACE(testing::Message() << u << ", " << v);
        expect_near(pmt3d::nurbs_surface(t.net(), u, v), expected, 1e-6f);
    };
    for (const auto& [u, v] : {std::pair(0, 0), {0, 1}, {1, 1}, {1, 0}})
        expect_at(float(u), float(v), t.at(std::size_t(2 * v), std::size_t(2 * u)));

    // Knots that cover only the middle: the borders have curves of their own there, each by its own knots.
    t = random_net(2, 2, 2, 2, 4);
    t.knots1 = t.knots2 = {0.25f, 0.25f, 0.75f, 0.75f, 0.4f, 0.4f, 0.8f, 0.8f};
    const auto between = [&](std::size_t a, std::size_t b, float share) {
        tables line{2, 2, 1, 1};
        line.points = {t.points[a], t.points[b]};
        line.weights = {t.weights[a], t.weights[b]};
        line.knots1 = {0, 0, 1, 1};
        line.knots2 = {0, 1, 0, 1};
        return pmt3d::nurbs_surface(line.net(), share, 0.5f);
    };
    expect_at(0, 0.5f, between(0, 2, 0.5f));
    expect_at(1, 0.5f, between(1, 3, 0.25f));
    expect_at(0.5f, 0, between(0, 1, 0.5f));
    expect_at(0.5f, 1, between(2, 3, 0.25f));

    t.knots1 = t.knots2 = {0.25f, 0.25f, 0.75f, 0.75f, 0.25f, 0.25f, 0.75f, 0.75f};
    capture err(std::cerr);
    pmt3d::nurbs_surface(t.net(), 0.125f, 0.5f);
    pmt3d::nurbs_surface(t.net(), 0, 0.125f); // not even the border's curve
    EXPECT_EQ(err.take(), "nurbs_surface(): is not reached point reached. u=0.125, v=0.5\n"
                          "nurbs_surface(): is not reached point reached. u=0, v=0.125\n");
    std::vector<pmt3d::vertex_t> grid(9 * 9);
    pmt3d::evaluate_grid(t.net(), 9, 9, grid);
    const std::string text = err.take();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 11);
    EXPECT_TRUE(text.ends_with("nurbs_surface(): 22 more points are not reached.\n")) << text;
}

TEST(nurbs_evaluation, points_that_do_not_count_spoil_no_others) {
    tables t = random_net(6, 3, 6, 3, 5);
    t.at(0, 0).position.x = std::numeric_limits<float>::infinity();
    EXPECT_TRUE(std::isfinite(pmt3d::nurbs_surface(t.net(), 0.9f, 0.9f).position.x)) << "out of reach";
    t.weights[0] = 0.0f;
    EXPECT_TRUE(std::isfinite(pmt3d::nurbs_surface(t.net(), 0.1f, 0.1f).position.x)) << "without a weight";
}

TEST(nurbs_grid, is_the_same_as_point_by_point_beyond_one_block_of_columns) {
    tables t = random_net(16, 4, 9, 4, 11);
    std::vector<pmt3d::vertex_t> grid(5000 * 9);
    for (const std::size_t own : {9, 5}) {
        scatter(t.knots1, 20, 4, own, 12);
        pmt3d::evaluate_grid(t.net(), 5000, 9, grid);
        for (const std::size_t at : {0, 4095, 4096, 9999, 24999, 33333, 44999}) {
            const auto& [position, color, texcoord] = grid[at];
            EXPECT_EQ(position, pmt3d::nurbs_surface(t.net(), texcoord.s, texcoord.t).position) << at;
        }
        EXPECT_EQ(grid[44999].texcoord, (render::txc2{1.0f, 1.0f}));
    }
    pmt3d::evaluate_grid(t.net(), 1, 1, grid); // the only sample lies at 0
    EXPECT_EQ(grid[0].texcoord, (render::txc2{0.0f, 0.0f}));
}

// ---- Steps between the vertices

using grid_t = std::vector<pmt3d::vertex_t>;
using steps_t = std::vector<pmt3d::differences_t>;

// A surface of revolution about the y axis: the grid of (radius, height) profiles, closed along u.
grid_t revolved(std::uint32_t ru, const std::vector<std::pair<float, float>>& profile) {
    grid_t grid;
    for (const auto& [radius, height] : profile) {
        for (std::uint32_t i = 0; i < ru; ++i) {
            const float angle = i + 1 == ru ? 0.0f : 6.2831853f * float(i) / float(ru - 1);
            grid.push_back({{radius * std::sin(angle), height, radius * std::cos(angle)}, {}, {}});
        }
    }
    return grid;
}

// The grid's steps; `turned`: computed with rows and columns exchanged, and exchanged back.
steps_t steps_of(const grid_t& grid, std::size_t ru, bool turned = false) {
    const std::size_t rv = grid.size() / ru;
    steps_t steps(grid.size()), back(grid.size());
    grid_t across(grid.size());
    for (std::size_t at = 0; at < grid.size(); ++at)
        across[at % ru * rv + at / ru] = grid[at];
    if (!turned) {
        pmt3d::grid_steps(grid, std::uint32_t(ru), std::uint32_t(rv), back);
        return back;
    }
    pmt3d::grid_steps(across, std::uint32_t(rv), std::uint32_t(ru), steps);
    for (std::size_t at = 0; at < grid.size(); ++at) {
        const pmt3d::differences_t& s = steps[at % ru * rv + at / ru];
        back[at] = {s.forward_v, s.forward_u, s.backward_v, s.backward_u};
    }
    return back;
}

TEST(nurbs_grid, steps_at_the_ends_of_rows) {
    // Open: both are the one step there is.
    const steps_t open = steps_of(revolved(17, {{1, 0}, {2, 1}, {1, 2}}), 17);
    EXPECT_EQ(open[3].backward_v, open[3].forward_v);
    EXPECT_EQ(open[2 * 17 + 3].forward_v, open[2 * 17 + 3].backward_v);
    // A lens: its ends meet, but the outline turns back there.
    grid_t lens;
    for (const float z : {0.0f, 1.0f})
        for (const auto& [x, y] :
             {std::pair(0.0f, 0.0f), {1.0f, 0.4f}, {2.0f, 0.0f}, {1.0f, -0.4f}, {0.0f, 0.0f}})
            lens.push_back({{x, y, z}, {}, {}});
    const steps_t around = steps_of(lens, 5);
    EXPECT_EQ(around[0].backward_u, around[0].forward_u);
    EXPECT_EQ(around[4].forward_u, around[4].backward_u);
    // A circle of radius 0.01 in 1024 steps: the products of neighbouring steps are far below the tolerance.
    const steps_t fine = steps_of(revolved(1025, {{0.01f, 0}, {0.01f, 0.01f}}), 1025);
    EXPECT_EQ(fine[0].backward_u, fine[1024].backward_u);
    // Single rows and columns have no steps across.
    const grid_t line = {{{1, 0, 0}, {}, {}}, {{2, 0, 0}, {}, {}}, {{4, 0, 0}, {}, {}}};
    for (const bool turned : {false, true}) {
        const steps_t row = steps_of(line, 3, turned);
        EXPECT_EQ(row[1].forward_u, (render::dir3{2, 0, 0}));
        EXPECT_TRUE(row[1].forward_v == render::dir3{} && row[1].backward_v == render::dir3{});
    }
}

TEST(nurbs_grid, tips_and_sectors_have_the_steps_of_the_row_beside_them) {
    const grid_t tips = revolved(9, {{0, 2}, {0.5f, 1}, {1, 0}, {0.5f, -1}, {0, -2}});
    grid_t sector, hole = revolved(9, {{0.02f, 0}, {0.5f, 0}, {1, 0}});
    grid_t far = revolved(9, {{0.0004f, 0}, {0.001f, 0}, {0.002f, 0}});
    for (pmt3d::vertex_t& v : far)
        v.position.x += 1000; // where rounding is as large
    for (std::size_t at = 0; const auto& v : revolved(17, {{0, 1}, {0.5f, 0.87f}, {0.87f, 0.5f}}))
        if (at++ % 17 < 5) sector.push_back(v);
    for (const bool turned : {false, true}) {
        const steps_t to = steps_of(tips, 9, turned), open = steps_of(sector, 5, turned);
        for (std::size_t i = 0; i < 9; ++i) {
            EXPECT_EQ(to[i].forward_u, to[9 + i].forward_u);
            EXPECT_EQ(to[36 + i].backward_u, to[27 + i].backward_u);
            EXPECT_EQ(to[36 + i].forward_v, to[36 + i].backward_v);
        }
        for (std::size_t i = 0; i < 5; ++i)
            EXPECT_EQ(open[i].forward_u, open[5 + i].forward_u) << "not round, as it is open";
        EXPECT_EQ(steps_of(hole, 9, turned)[1].forward_u, hole[2].position - hole[1].position);
        EXPECT_EQ(steps_of(far, 9, turned)[1].forward_u, far[2].position - far[1].position);
    }
}

TEST(nurbs_grid, a_periodic_surface_has_no_seam_at_any_size_and_place) {
    // Eleven cubic pieces: at the two ends of the knots rounding gives the same points differently.
    for (const float size : {0.01f, 1.0f, 10'000.0f}) {
        for (const float away : {0.0f, 5.0f, 1000.0f}) {
            tables t{14, 4, 4, 4};
            for (std::size_t i = 0; i < t.knots1.size(); ++i)
                t.knots1[i] = (float(i % 18) - 3) / 11;
            repeat(t.knots2, {0, 0, 0, 0, 1, 1, 1, 1});
            for (std::size_t at = 0; at < t.points.size(); ++at) {
                const float angle = 6.2831853f * float(at % 14 % 11) / 11, j = float(at / 14);
                t.points[at].position = {size * (away + std::sin(angle) * (1 + 0.2f * j)), size * j,
                                         size * std::cos(angle)};
            }
            grid_t grid(33 * 200);
            std::vector<pmt3d::frame_t> frames(grid.size());
            pmt3d::evaluate_grid(t.net(), 33, 200, grid);
            pmt3d::average_frames(steps_of(grid, 33), frames);
            for (std::size_t row = 0; row < grid.size(); row += 33)
                ASSERT_LT(render::length(frames[row].normal - frames[row + 32].normal), 0.005f)
                    << size << ' ' << away << ' ' << row;
        }
    }
}

// The true normals point inwards. Neighbours that lie h apart see a curve to h squared, and positions are
// rounded.
TEST(nurbs_grid, round_surfaces_have_their_normals_at_any_size_and_place) {
    for (const double ring : {0.0, 1.0}) // a sphere, and a torus with this radius
        for (const std::uint32_t n : {9u, 33u, 171u}) {
            const double h = 6.283185307179586 / (n - 1), tube = ring == 0 ? 1 : 0.4;
            std::vector<std::pair<float, float>> directions, profile;
            for (std::uint32_t j = 0; j < n; ++j) {
                const double angle = ring == 0 ? h * j / 2 : h * (j % (n - 1)), out = std::sin(angle);
                directions.emplace_back(out, std::cos(angle));
                profile.emplace_back(ring + tube * out, tube * std::cos(angle));
            }
            const grid_t outwards = revolved(n, directions), unit = revolved(n, profile);
            for (const float radius : {0.01f, 1.0f, 1000.0f})
                for (const float distance : {0.0f, 1.0f, 30.0f, 1000.0f}) {
                    grid_t grid = unit;
                    for (pmt3d::vertex_t& v : grid)
                        v.position = {radius * (v.position.x + 0.8f * distance),
                                      radius * (v.position.y + 0.27f * distance),
                                      radius * (v.position.z - 0.53f * distance)};
                    std::vector<pmt3d::frame_t> frames(grid.size());
                    pmt3d::average_frames(steps_of(grid, n, n == 33), frames);
                    for (std::uint32_t at = 0; at < n * n; ++at) {
                        // The shortest steps are those around, of 0.7 h at least; a pole has those beside it.
                        const double around = profile[std::clamp(at / n, 1u, n - 2)].first;
                        const double rounding = 0x1p-24 * (distance + 1) / (0.7 * h * std::min(around, 0.4));
                        ASSERT_LT(
                            render::length(frames[at].normal + (outwards[at].position - render::pos3{})),
                            1e-3 + 0.4 * h * h + 4 * rounding)
                            << ring << ' ' << n << ' ' << radius << ' ' << distance << ' ' << at;
                    }
                }
        }
}

TEST(nurbs_grid, strips_join_neighbouring_rows) {
    using pmt3d::strip_end;
    std::vector<pmt3d::element_t> elements(pmt3d::grid_element_count(3, 3));
    pmt3d::grid_elements(3, 3, elements);
    EXPECT_EQ(elements,
              (std::vector<pmt3d::element_t>{3, 0, 4, 1, 5, 2, strip_end, 6, 3, 7, 4, 8, 5, strip_end}));
    EXPECT_EQ(pmt3d::grid_element_count(33, 1), 0u);
}

} // namespace
