#include "pmt3d/surface/nurbs_evaluation.h"

#include "libutils/error_report.h"

#include <cstring>
#include <iostream>

namespace pmt3d {

static bool share_knots(const float* knots, std::size_t vectors, std::size_t length) {
    for (std::size_t i = 1; i < vectors; ++i)
        if (std::memcmp(knots, knots + i * length, length * sizeof(float)) != 0) return false;
    return true;
}

nurbs_evaluator::nurbs_evaluator(const nurbs_net& net)
    : net_(net),
      rows_share_knots_(share_knots(net.knots1, net.n, net.m + net.k1)),
      columns_share_knots_(share_knots(net.knots2, net.m, net.n + net.k2)) {
    points_.resize(net.m * net.n);
    for (std::size_t at = 0; at < points_.size(); ++at) {
        const auto& [p, c] = net.points[at];
        points_[at].xyzr = sum_t::floats{p.x, p.y, p.z, c.r};
        points_[at].gbaw = sum_t::floats{c.g, c.b, c.a, 1.0f};
    }
    if (rows_share_knots_)
        columns_.resize(net.m);
    else
        along_v_.resize(net.m);
}

void nurbs_evaluator::set_v(float v) {
    v_ = v;
    basis_values b;
    for (std::size_t i = 0; i < net_.m; ++i) {
        if (i == 0 || !columns_share_knots_)
            b = basis_.evaluate(net_.n, net_.k2, v, net_.knots2 + i * (net_.n + net_.k2));
        if (rows_share_knots_) {
            columns_[i] = {};
            for (std::size_t at = 0; at < b.values.size(); ++at) {
                const std::size_t j = b.first + at;
                // Points that the basis does not reach must not count, not even infinite ones.
                if (const float c = net_.weights[j * net_.m + i] * b.values[at]; c != 0.0f)
                    columns_[i].add(c, points_[j * net_.m + i]);
            }
        } else {
            along_v_[i].assign(net_.n, 0.0f);
            std::copy(b.values.begin(), b.values.end(), along_v_[i].begin() + std::ptrdiff_t(b.first));
        }
    }
}

control_point_t nurbs_evaluator::at(float u) {
    if (rows_share_knots_) return at(u, basis_.evaluate(net_.m, net_.k1, u, net_.knots1));
    sum_t sum;
    for (std::size_t j = 0; j < net_.n; ++j) {
        const basis_values b = basis_.evaluate(net_.m, net_.k1, u, net_.knots1 + j * (net_.m + net_.k1));
        for (std::size_t at = 0; at < b.values.size(); ++at) {
            const std::size_t i = b.first + at;
            if (const float c = b.values[at] * net_.weights[j * net_.m + i] * along_v_[i][j]; c != 0.0f)
                sum.add(c, points_[j * net_.m + i]);
        }
    }
    return divide(sum, u);
}

control_point_t nurbs_evaluator::border(const sum_t& sum, float u) {
    const float v = v_;
    const std::size_t m = net_.m, last_row = (net_.n - 1) * m;
    if (u == 0.0f && v == 0.0f) return net_.points[0];
    if (u == 0.0f && v == 1.0f) return net_.points[last_row];
    if (u == 1.0f && v == 1.0f) return net_.points[last_row + m - 1];
    if (u == 1.0f && v == 0.0f) return net_.points[m - 1];
    if (u == 0.0f) return curve(net_.n, net_.k2, v, net_.knots2, 0, m, u);
    if (u == 1.0f) return curve(net_.n, net_.k2, v, net_.knots2 + (m - 1) * (net_.n + net_.k2), m - 1, m, u);
    if (v == 0.0f) return curve(m, net_.k1, u, net_.knots1, 0, 1, u);
    if (v == 1.0f) return curve(m, net_.k1, u, net_.knots1 + (net_.n - 1) * (m + net_.k1), last_row, 1, u);
    return unreached_point(sum, u);
}

// The rational curve of the control points first, first + step, ... at t.
control_point_t nurbs_evaluator::curve(std::size_t count, std::size_t order, float t, const float* knots,
                                       std::size_t first, std::size_t step, float u) {
    const basis_values b = basis_.evaluate(count, order, t, knots);
    sum_t sum;
    for (std::size_t at = 0; at < b.values.size(); ++at) {
        const std::size_t point = first + (b.first + at) * step;
        if (const float c = b.values[at] * net_.weights[point]; c != 0.0f) sum.add(c, points_[point]);
    }
    if (!render::approx_equal(sum.weight(), 0.0f)) return sum.divided();
    return unreached_point(sum, u);
}

control_point_t nurbs_evaluator::unreached_point(const sum_t& sum, float u) {
    if (unreached_++ < reported) {
        libutils::error_report();
        std::cerr << "nurbs_surface(): is not reached point reached. u=" << u << ", v=" << v_ << '\n';
    }
    return sum.divided();
}

control_point_t nurbs_surface(const nurbs_net& net, float u, float v) {
    nurbs_evaluator evaluator(net);
    evaluator.set_v(v);
    return evaluator.at(u);
}

} // namespace pmt3d
