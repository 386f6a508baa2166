#include "pmt3d/surface/nurbs_evaluation.h"

#include "libutils/report.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace pmt3d {

// The knot vectors of all rows (or columns), or the first alone when all are alike.
static std::vector<knot_vector> knot_vectors(std::size_t vectors, std::size_t count, std::size_t order,
                                             const float* knots) {
    const std::size_t length = count + order;
    std::vector<knot_vector> all = {{count, order, knots}};
    bool alike = true;
    for (std::size_t i = 1; alike && i < vectors; ++i)
        alike = std::memcmp(knots, knots + i * length, length * sizeof(float)) == 0;
    for (std::size_t i = 1; !alike && i < vectors; ++i)
        all.emplace_back(count, order, knots + i * length);
    return all;
}

nurbs_evaluator::nurbs_evaluator(const nurbs_net& net)
    : net_(net),
      rows_(knot_vectors(net.n, net.m, net.k1, net.knots1)),
      columns_(knot_vectors(net.m, net.n, net.k2, net.knots2)) {
    find_middle();
    points_.resize(net.m * net.n);
    for (std::size_t at = 0; at < points_.size(); ++at) {
        const auto& [p, c] = net.points[at];
        points_[at].xyzr = sum_t::floats{p.x, p.y, p.z, c.r} - middle_;
        points_[at].gbaw = sum_t::floats{c.g, c.b, c.a, 1.0f};
    }
}

// Coordinates are moved where they are alike enough for the differences to be exact.
void nurbs_evaluator::find_middle() {
    const std::span<const control_point_t> points(net_.points, net_.m * net_.n);
    int lane = 0;
    for (float render::pos3::*const axis : {&render::pos3::x, &render::pos3::y, &render::pos3::z}) {
        const auto [low, high] = std::minmax_element(
            points.begin(), points.end(), [axis](const control_point_t& a, const control_point_t& b) {
                return a.position.*axis < b.position.*axis;
            });
        const float from = low->position.*axis, to = high->position.*axis;
        if (to - from < std::min(std::fabs(from), std::fabs(to))) {
            middle_[lane] = from + (to - from) / 2;
            moved_ = true;
        }
        ++lane;
    }
}

void nurbs_evaluator::set_v(float v) {
    v_ = v;
    along_v_.clear();
    std::size_t begin = net_.n, end = 0; // the rows that v reaches
    for (const knot_vector& column : columns_) {
        const basis_values b = basis_.evaluate(column, v);
        along_v_.add(b);
        if (b.values.empty()) continue;
        begin = std::min(begin, b.first);
        end = std::max(end, b.first + b.values.size());
    }
    const bool together = rows_.size() == 1;
    lines_.clear();
    if (together)
        lines_.push_back({0, nullptr, nullptr});
    else
        for (std::size_t row = begin; row < end; ++row)
            lines_.push_back({row, nullptr, nullptr});
    sums_.assign(lines_.size() * net_.m, {});
    for (std::size_t i = 0; i < net_.m; ++i) {
        const basis_values b = along_v_[columns_.size() == 1 ? 0 : i];
        for (std::size_t at = 0; at < b.values.size(); ++at) {
            const std::size_t j = b.first + at;
            // Points that the basis does not reach must not count, not even infinite ones.
            if (const float c = net_.weights[j * net_.m + i] * b.values[at]; c != 0.0f)
                sums_[(together ? 0 : j - begin) * net_.m + i].add(c, points_[j * net_.m + i]);
        }
    }
    std::erase_if(
        tables_, [&](const auto& entry) { return !together && (entry.first < begin || entry.first >= end); });
    for (std::size_t at = 0; at < lines_.size(); ++at) {
        lines_[at].sums = sums_.data() + at * net_.m;
        lines_[at].basis = table(lines_[at].row);
    }
}

void nurbs_evaluator::set_parameters(std::span<const float> along_u) {
    along_u_ = along_u;
    tables_.clear();
    lines_.clear(); // until the next set_v()
}

const basis_table_t* nurbs_evaluator::table(std::size_t row) {
    if (along_u_.empty()) return nullptr;
    const auto [entry, is_new] = tables_.try_emplace(row);
    if (is_new)
        for (const float u : along_u_)
            entry->second.add(basis_.evaluate(rows_[row], u));
    return &entry->second;
}

std::size_t nurbs_evaluator::parameters_at_once() const {
    constexpr std::size_t values = std::size_t(1) << 22, fewest = 16, most = 4096;
    return std::clamp(values / (net_.k1 + 8) / rows_.size(), fewest, most); // v may reach all rows
}

control_point_t nurbs_evaluator::at(float u) {
    sum_t sum;
    for (const line_t& line : lines_)
        line.add(basis_.evaluate(rows_[line.row], u), sum);
    return divide(sum, u);
}

control_point_t nurbs_evaluator::border(const sum_t& sum, float u) {
    const float v = v_;
    const std::size_t m = net_.m, last_row = (net_.n - 1) * m;
    if (u == 0.0f && v == 0.0f) return net_.points[0];
    if (u == 0.0f && v == 1.0f) return net_.points[last_row];
    if (u == 1.0f && v == 1.0f) return net_.points[last_row + m - 1];
    if (u == 1.0f && v == 0.0f) return net_.points[m - 1];
    if (u == 0.0f) return curve(columns_.front(), v, 0, m, u);
    if (u == 1.0f) return curve(columns_.back(), v, m - 1, m, u);
    if (v == 0.0f) return curve(rows_.front(), u, 0, 1, u);
    if (v == 1.0f) return curve(rows_.back(), u, last_row, 1, u);
    return unreached_point(sum, u);
}

// The rational curve of the control points first, first + step, ... at t.
control_point_t nurbs_evaluator::curve(const knot_vector& knots, float t, std::size_t first, std::size_t step,
                                       float u) {
    const basis_values b = basis_.evaluate(knots, t);
    sum_t sum;
    for (std::size_t at = 0; at < b.values.size(); ++at) {
        const std::size_t point = first + (b.first + at) * step;
        if (const float c = b.values[at] * net_.weights[point]; c != 0.0f) sum.add(c, points_[point]);
    }
    return render::approx_equal(sum.weight(), 0.0f) ? unreached_point(sum, u) : divided(sum);
}

control_point_t nurbs_evaluator::unreached_point(const sum_t& sum, float u) {
    if (unreached_++ < reported)
        libutils::report("nurbs_surface(): is not reached point reached. u=", u, ", v=", v_);
    return divided(sum);
}

control_point_t nurbs_surface(const nurbs_net& net, float u, float v) {
    nurbs_evaluator evaluator(net);
    evaluator.set_v(v);
    return evaluator.at(u);
}

} // namespace pmt3d
