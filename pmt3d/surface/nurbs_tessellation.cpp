#include "pmt3d/surface/nurbs_tessellation.h"

#include "libutils/report.h"
#include "render/math/operations.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

namespace pmt3d {

using render::dir3;

static float parameter(std::uint32_t sample, std::uint32_t samples) {
    return samples < 2 ? 0.0f : float(sample) / float(samples - 1);
}

void evaluate_grid(const nurbs_net& net, std::uint32_t ru, std::uint32_t rv, std::span<vertex_t> vertices) {
    nurbs_evaluator evaluator(net);
    // The basis along u is tabled for so many columns at a time, so that the tables stay small whatever the
    // resolution.
    const auto block = std::uint32_t(evaluator.parameters_at_once());
    std::vector<float> parameters;
    for (std::uint32_t begin = 0; begin < ru; begin += block) {
        const std::uint32_t end = std::min(ru - begin, block) + begin;
        parameters.clear();
        for (std::uint32_t i = begin; i < end; ++i)
            parameters.push_back(parameter(i, ru));
        evaluator.set_parameters(parameters);
        for (std::uint32_t j = 0; j < rv; ++j) {
            const float v = parameter(j, rv);
            evaluator.set_v(v);
            vertex_t* to = &vertices[std::uint64_t(j) * ru + begin];
            for (std::size_t k = 0; k < parameters.size(); ++k) {
                const control_point_t p = evaluator.at_parameter(k);
                *to++ = {p.position, p.color, {parameters[k], v}};
            }
        }
    }
    if (evaluator.unreached() > nurbs_evaluator::reported)
        libutils::report("nurbs_surface(): ", evaluator.unreached() - nurbs_evaluator::reported,
                         " more points are not reached.");
}

namespace {

constexpr float rounding = 0x1p-20f; // of its coordinates, that is how far a computed point may lie off

// The vertices of one row or column of the grid, and the steps along it.
struct grid_line {
    std::span<const vertex_t> vertices;
    std::span<differences_t> steps;
    dir3 differences_t::*forward;
    dir3 differences_t::*backward;
    std::uint64_t first, stride, count;

    std::uint64_t at(std::uint64_t k) const { return first + k * stride; }
    const render::pos3& position(std::uint64_t k) const { return vertices[at(k)].position; }
    differences_t& step(std::uint64_t k) const { return steps[at(k)]; }
    dir3 between(std::uint64_t from, std::uint64_t to) const { return position(to) - position(from); }
};

float largest(const dir3& d) {
    return std::max({std::fabs(d.x), std::fabs(d.y), std::fabs(d.z)});
}

float rounding_at(const render::pos3& p) {
    return rounding * largest({p.x, p.y, p.z});
}

// Whether the line's ends meet. Beyond coordinates of 20 rounding leaves more between them than the usual
// tolerance.
bool is_closed(const grid_line& line) {
    const float gap = largest(line.between(0, line.count - 1));
    return render::approx_equal(gap, 0.0f) || gap <= rounding_at(line.position(0));
}

// The step beyond a border: the one at the other end of a closed line when it goes on in about the same
// direction, else the one on this side.
dir3 beyond(bool closed, const dir3& opposite, const dir3& own) {
    const bool goes_on =
        closed &&
        render::approx_greater(render::dot(render::normalise(opposite), render::normalise(own)), 0.0f);
    return goes_on ? opposite : own;
}

// The steps that the two ends of a line lack.
void close_ends(const grid_line& line) {
    const std::uint64_t last = line.count - 1;
    if (last == 0) {
        line.step(0).*line.forward = line.step(0).*line.backward = {};
        return;
    }
    const dir3 first = line.between(0, 1), final = line.between(last - 1, last);
    const bool closed = is_closed(line);
    line.step(0).*line.backward = beyond(closed, final, first);
    line.step(last).*line.forward = beyond(closed, first, final);
}

// How far the line goes from its first vertex.
float extent(const grid_line& line) {
    float most = 0.0f;
    for (std::uint64_t k = 1; k < line.count; ++k)
        most = std::max(most, largest(line.between(0, k)));
    return most;
}

// A border, the line beside it, and which steps lead from the one to the other or, on the border, beyond.
struct grid_border {
    grid_line line, beside;
    dir3 differences_t::*inward;
    dir3 differences_t::*outward;
};

// The normal at a pole that the surface is round at: seen from all around, and no tip.
std::optional<dir3> round_normal(const grid_border& pole) {
    const grid_line &line = pole.line, &beside = pole.beside;
    if (!is_closed(beside)) return {};
    dir3 normal{};
    for (std::uint64_t k = 0; k + 1 < line.count; ++k) // the last lies at the first
        normal = normal + render::cross(beside.step(k).*beside.forward, line.step(k).*pole.inward);
    normal = render::normalise(normal);
    // The lines to a tip go straight there; those over a round pole rise by half of what they turn at each
    // step.
    float rises = 0.0f, turns = 0.0f;
    for (std::uint64_t k = 0; k < line.count; ++k) {
        const dir3 before = render::normalise(beside.step(k).*pole.outward),
                   behind = render::normalise(beside.step(k).*pole.inward);
        rises += std::fabs(render::dot(normal, render::normalise(line.step(k).*pole.inward)));
        turns += render::length(render::cross(before, behind));
    }
    if (rises > turns) return {};
    return normal;
}

// Gives a border that has shrunk to a point the steps that it lacks.
void open_pole(const grid_border& pole) {
    constexpr float shrunk = 1.0f / 16.0f; // of the line beside it
    const grid_line &line = pole.line, &beside = pole.beside;
    const float size = extent(line);
    if (size > rounding_at(line.position(0)) || size > shrunk * extent(beside)) return;
    const std::optional<dir3> normal = round_normal(pole);
    for (std::uint64_t k = 0; k < line.count; ++k) {
        differences_t& own = line.step(k);
        if (normal) {
            const dir3 rise = render::dot(*normal, own.*pole.inward) * *normal,
                       flat = own.*pole.inward - rise;
            own.*pole.outward = flat - rise;
            own.*line.forward = own.*line.backward = render::cross(flat, *normal);
        } else {
            own.*line.forward = beside.step(k).*line.forward;
            own.*line.backward = beside.step(k).*line.backward;
        }
    }
}

} // namespace

void grid_steps(std::span<const vertex_t> vertices, std::uint32_t ru, std::uint32_t rv,
                std::span<differences_t> steps) {
    using d = differences_t;
    const auto row = [&](std::uint64_t j) {
        return grid_line{vertices, steps, &d::forward_u, &d::backward_u, j * ru, 1, ru};
    };
    const auto column = [&](std::uint64_t i) {
        return grid_line{vertices, steps, &d::forward_v, &d::backward_v, i, ru, rv};
    };
    for (std::uint64_t j = 0, at = 0; j < rv; ++j) {
        for (std::uint64_t i = 0; i < ru; ++i, ++at) {
            if (i + 1 < ru)
                steps[at].forward_u = steps[at + 1].backward_u =
                    vertices[at + 1].position - vertices[at].position;
            if (j + 1 < rv)
                steps[at].forward_v = steps[at + ru].backward_v =
                    vertices[at + ru].position - vertices[at].position;
        }
    }
    for (std::uint64_t j = 0; j < rv; ++j)
        close_ends(row(j));
    for (std::uint64_t i = 0; i < ru; ++i)
        close_ends(column(i));
    if (rv > 1) {
        open_pole({row(0), row(1), &d::forward_v, &d::backward_v});
        open_pole({row(rv - 1), row(rv - 2), &d::backward_v, &d::forward_v});
    }
    if (ru > 1) {
        open_pole({column(0), column(1), &d::forward_u, &d::backward_u});
        open_pole({column(ru - 1), column(ru - 2), &d::backward_u, &d::forward_u});
    }
}

void grid_elements(std::uint32_t ru, std::uint32_t rv, std::span<element_t> elements) {
    element_t* out = elements.data();
    for (std::uint32_t j = 1; j < rv; ++j) {
        for (std::uint32_t i = 0; i < ru; ++i) {
            *out++ = j * ru + i;
            *out++ = (j - 1) * ru + i;
        }
        *out++ = strip_end;
    }
}

} // namespace pmt3d
