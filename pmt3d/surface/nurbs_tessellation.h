#pragma once
// Tessellates a NURBS surface into a grid of vertices, in the caller's memory.

#include "pmt3d/surface/nurbs_evaluation.h"
#include "pmt3d/surface/strips.h"
#include "pmt3d/surface/vertex.h"

#include <cstdint>
#include <span>

namespace pmt3d {

// A grid of ru by rv vertices: vertex j ru + i lies at u = i / (ru - 1), v = j / (rv - 1), or at 0 where that
// is the only one. ru and rv are at least 1, and `vertices`, `steps` have ru rv records.

// The surface at every vertex, with (u, v) as texture coordinate. Points that the knots do not reach are
// reported as nurbs_surface() does; beyond nurbs_evaluator::reported of them one line tells how many more
// there were.
void evaluate_grid(const nurbs_net& net, std::uint32_t ru, std::uint32_t rv, std::span<vertex_t> vertices);

// The steps from each vertex to the next along u and along v, and from the one before to it. Where the border
// ends them:
// - Borders that coincide there (within 2e-5 in every component, or what rounding leaves at their
//   coordinates) are a seam. The step goes on from the opposite border, so that both sides get the same
//   frame; except where it turns back, that is where the cosine between the two steps is not greater than
//   2e-5.
// - Otherwise the one step there is stands for both.
// - Where a border has shrunk to a point (a pole), the steps along it are those of the line beside it. A pole
//   that closes a round surface has one normal instead: the step across it goes on evenly on the other side.
void grid_steps(std::span<const vertex_t> vertices, std::uint32_t ru, std::uint32_t rv,
                std::span<differences_t> steps);

// One strip for each pair of neighbouring rows, rv - 1 of 2 ru indices and a strip end each.
constexpr std::uint64_t grid_element_count(std::uint32_t ru, std::uint32_t rv) {
    return (std::uint64_t(rv) - 1) * (2 * std::uint64_t(ru) + 1);
}
void grid_elements(std::uint32_t ru, std::uint32_t rv, std::span<element_t> elements);

} // namespace pmt3d
