#pragma once
// Basis functions of B-splines (the recursion of de Boor, "On calculating with B-splines", 1972, and Cox).

#include <cstddef>

namespace render {

// N(i, k, u): the i-th basis function of order k (degree + 1; order 0 is 0 everywhere) at u, over knots[i] to
// knots[i + k]. Both ends of a knot span belong to it, so that at an inner knot two neighbouring pieces
// count. A term whose lower-order value or whose knot difference is 0 contributes 0. Time grows with k²,
// whatever the order.
float bspline_basis(std::size_t i, std::size_t k, float u, const float* knots);

// Knot vectors one after the other, each of row_length values.
struct knot_table {
    const float* values;
    std::size_t row_length;
};
inline float bspline_basis(std::size_t i, std::size_t k, float u, const knot_table& table, std::size_t row) {
    return bspline_basis(i, k, u, table.values + row * table.row_length);
}

} // namespace render
