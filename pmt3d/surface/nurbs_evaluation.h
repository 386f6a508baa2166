#pragma once
// Computes points and colours of a rational B-spline surface from the caller's tables.

#include "pmt3d/surface/nurbs_basis.h"
#include "render/math/operations.h"
#include "render/math/types.h"

#include <cstddef>
#include <cstring>
#include <map>
#include <span>
#include <vector>

namespace pmt3d {

// One point of the control net, or of the surface.
struct control_point_t {
    render::pos3 position;
    render::col3a color; // 0..1, blended like the position
};
static_assert(sizeof(control_point_t) == 7 * sizeof(float));

// The tables of a surface. Row j runs along u, column i along v. All sizes at least 1.
struct nurbs_net {
    std::size_t m = 0, k1 = 0;               // control points in a row; order (degree + 1) along u
    std::size_t n = 0, k2 = 0;               // rows; order along v
    const float* knots1 = nullptr;           // n rows of m + k1: the u knots of each row
    const float* knots2 = nullptr;           // m rows of n + k2: the v knots of each column
    const float* weights = nullptr;          // n rows of m
    const control_point_t* points = nullptr; // n rows of m
};

// The surface at (u, v): sum over rows j and columns i of c P(j, i), divided by the sum of the c, where
//   c = B(i, k1, u; knots1 row j) * weight(j, i) * B(j, k2, v; knots2 row i).
// Where the sum of the c is within 2e-5 of 0 and u or v is exactly 0 or 1, the nearest border decides: a
// corner gives its control point, an edge the rational curve of the border row or column alone. Elsewhere
// "nurbs_surface(): is not reached point reached. u=U, v=V" goes to standard error and the division is done
// as it is.
control_point_t nurbs_surface(const nurbs_net& net, float u, float v);

// The same for many points along lines of constant v. What depends on v alone is computed once a line: the
// weighted control points that the line reaches and, if all rows share their u knots (most do), the rows'
// sum. That leaves k1 products a point for shared knots, and k1 k2 otherwise.
//
// A net far from the origin is computed relative to its own middle, so rounding errors scale with the
// surface; only the result is rounded at the size of its coordinates.
class nurbs_evaluator {
public:
    // The net's tables stay the caller's and must not change meanwhile.
    explicit nurbs_evaluator(const nurbs_net& net);

    void set_v(float v);
    control_point_t at(float u);
    // The same for parameters along u that are known before, which is faster for many lines. The parameters
    // stay the caller's until others are given.
    void set_parameters(std::span<const float> along_u);
    control_point_t at_parameter(std::size_t k) {
        sum_t sum;
        for (const line_t& line : lines_)
            line.add((*line.basis)[k], sum);
        return divide(sum, along_u_[k]);
    }
    // How many parameters are worth tabling at a time.
    std::size_t parameters_at_once() const;

    // Points that neither the sum nor a border rule reached. The first `reported` of them were written out.
    std::size_t unreached() const { return unreached_; }
    static constexpr std::size_t reported = 10;

private:
    // c times (position, colour, 1), summed: two vectors, as compilers do not find them by themselves here.
    struct sum_t {
        using floats [[gnu::vector_size(16)]] = float;
        floats xyzr{}, gbaw{};

        void add(float c, const sum_t& other) {
            xyzr += c * other.xyzr;
            gbaw += c * other.gbaw;
        }
        float weight() const { return gbaw[3]; }
    };
    // A row of sums that share the u knots of row `row`.
    struct line_t {
        std::size_t row;
        const sum_t* sums;          // m
        const basis_table_t* basis; // at the parameters, when there are any

        void add(const basis_values& along_u, sum_t& sum) const {
            const sum_t* from = sums + along_u.first;
            for (const float b : along_u.values)
                sum.add(b, *from++);
        }
    };

    void find_middle();
    const basis_table_t* table(std::size_t row);
    control_point_t divided(const sum_t& sum) const {
        const float factor = 1.0f / sum.weight();
        sum_t quotient = {sum.xyzr * factor, sum.gbaw * factor};
        if (moved_) quotient.xyzr += middle_;
        control_point_t point;
        std::memcpy(&point, &quotient, sizeof point);
        return point;
    }
    control_point_t divide(const sum_t& sum, float u) {
        return render::approx_equal(sum.weight(), 0.0f) ? border(sum, u) : divided(sum);
    }
    control_point_t border(const sum_t& sum, float u);
    control_point_t curve(const knot_vector& knots, float t, std::size_t first, std::size_t step, float u);
    control_point_t unreached_point(const sum_t& sum, float u);

    nurbs_net net_;
    std::vector<knot_vector> rows_, columns_; // one where all share their knots
    bool moved_ = false;
    sum_t::floats middle_{};
    std::vector<sum_t> points_; // the control points relative to the middle, weight lane 1
    float v_ = 0.0f;
    std::vector<sum_t> sums_; // of the lines
    std::vector<line_t> lines_;
    basis_table_t along_v_; // of each of columns_ at v_
    std::span<const float> along_u_;
    std::map<std::size_t, basis_table_t> tables_; // of the rows that v_ reaches, at these
    basis_t basis_;
    std::size_t unreached_ = 0;
};

} // namespace pmt3d
