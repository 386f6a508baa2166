#include "pmt3d/surface/nurbs_tessellation.h"

#include "libutils/error_report.h"
#include "render/math/operations.h"

#include <algorithm>
#include <iostream>
#include <vector>

namespace pmt3d {

using render::dir3;

static float parameter(std::uint32_t sample, std::uint32_t samples) {
    return samples < 2 ? 0.0f : float(sample) / float(samples - 1);
}

void evaluate_grid(const nurbs_net& net, std::uint32_t ru, std::uint32_t rv, std::span<vertex_t> vertices) {
    nurbs_evaluator evaluator(net);
    // The basis along u is the same for every row of the grid. It is tabled for so many columns at a time, so
    // that the table stays small whatever the resolution.
    constexpr std::uint32_t block = 4096;
    std::vector<float> parameters;
    for (std::uint32_t begin = 0; begin < ru; begin += block) {
        const std::uint32_t end = std::min(ru - begin, block) + begin;
        parameters.clear();
        for (std::uint32_t i = begin; i < end; ++i)
            parameters.push_back(parameter(i, ru));
        const bool shared = evaluator.rows_share_knots();
        const basis_table_t along_u(net.m, net.k1, net.knots1,
                                    shared ? parameters : std::span<const float>());
        for (std::uint32_t j = 0; j < rv; ++j) {
            const float v = parameter(j, rv);
            evaluator.set_v(v);
            for (std::uint32_t i = begin; i < end; ++i) {
                const float u = parameters[i - begin];
                const control_point_t p = shared ? evaluator.at(u, along_u[i - begin]) : evaluator.at(u);
                vertices[std::uint64_t(j) * ru + i] = {p.position, p.color, {u, v}};
            }
        }
    }
    if (evaluator.unreached() > nurbs_evaluator::reported) {
        libutils::error_report();
        std::cerr << "nurbs_surface(): " << evaluator.unreached() - nurbs_evaluator::reported
                  << " more points are not reached.\n";
    }
}

namespace {

// The vertices of one row or column of the grid, and the steps along it.
struct grid_line {
    std::span<const vertex_t> vertices;
    std::span<differences_t> steps;
    dir3 differences_t::*forward;
    dir3 differences_t::*backward;
    std::uint64_t first, stride, count;

    std::uint64_t at(std::uint64_t k) const { return first + k * stride; }
    dir3 between(std::uint64_t from, std::uint64_t to) const {
        return vertices[at(to)].position - vertices[at(from)].position;
    }
};

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
        line.steps[line.first].*line.forward = line.steps[line.first].*line.backward = {};
        return;
    }
    const dir3 gap = line.between(0, last), first = line.between(0, 1), final = line.between(last - 1, last);
    const bool closed = render::approx_equal(gap.x, 0.0f) && render::approx_equal(gap.y, 0.0f) &&
                        render::approx_equal(gap.z, 0.0f);
    line.steps[line.first].*line.backward = beyond(closed, final, first);
    line.steps[line.at(last)].*line.forward = beyond(closed, first, final);
}

// Gives a border line that has shrunk to a point the steps of the line beside it.
void open_pole(const grid_line& border, std::uint64_t beside) {
    constexpr float shrunk = 1e-4f; // of the step beside: rounding leaves less, a surface more
    const auto is_point = [&](dir3 differences_t::*which, std::uint64_t k) {
        const dir3 &own = border.steps[border.at(k)].*which,
                   &next = border.steps[beside + k * border.stride].*which;
        return render::dot(own, own) <= shrunk * shrunk * render::dot(next, next);
    };
    for (std::uint64_t k = 0; k < border.count; ++k)
        if (!is_point(border.forward, k) || !is_point(border.backward, k)) return;
    for (std::uint64_t k = 0; k < border.count; ++k) {
        differences_t &own = border.steps[border.at(k)], &next = border.steps[beside + k * border.stride];
        own.*border.forward = next.*border.forward;
        own.*border.backward = next.*border.backward;
    }
}

} // namespace

void grid_steps(std::span<const vertex_t> vertices, std::uint32_t ru, std::uint32_t rv,
                std::span<differences_t> steps) {
    const auto row = [&](std::uint64_t j) {
        return grid_line{vertices, steps, &differences_t::forward_u, &differences_t::backward_u, j * ru,
                         1,        ru};
    };
    const auto column = [&](std::uint64_t i) {
        return grid_line{vertices, steps, &differences_t::forward_v, &differences_t::backward_v, i, ru, rv};
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
        open_pole(row(0), row(1).first);
        open_pole(row(rv - 1), row(rv - 2).first);
    }
    if (ru > 1) {
        open_pole(column(0), column(1).first);
        open_pole(column(ru - 1), column(ru - 2).first);
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
