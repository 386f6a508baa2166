#include "pmt3d/surface/nurbs.h"

#include "libutils/report.h"
#include "libutils/step.h"
#include "pmt3d/surface/nurbs_tessellation.h"
#include "render/math/operations.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace pmt3d {

using libutils::report;
using libutils::step;

nurbs_t& nurbs_t::operator=(const nurbs_t& other) {
    if (this == &other) return *this;
    clear();
    resolution_u_ = other.resolution_u_;
    resolution_v_ = other.resolution_v_;
    if (other.m_ > 0) {
        if (!allocate(other.m_, other.k1_, other.n_, other.k2_)) return *this;
        std::copy(other.knots1_.begin(), other.knots1_.end(), knots1_.begin());
        std::copy(other.knots2_.begin(), other.knots2_.end(), knots2_.begin());
        std::copy(other.weights_.begin(), other.weights_.end(), weights_.begin());
        std::copy(other.points_.begin(), other.points_.end(), points_.begin());
        if (!other.drawn_points_.empty() && MakeCtlpts())
            std::copy(other.drawn_points_.begin(), other.drawn_points_.end(), drawn_points_.begin());
    }
    modeling_t::operator=(other);
    return *this;
}

// The size of a table of a rows of b + c numbers, unless that is more than any table can have.
static bool table_size(std::uint64_t a, std::uint64_t b, std::uint64_t c, std::uint64_t& size) {
    constexpr std::uint64_t most = std::uint64_t(1) << 40;
    if (a > most || b > most || c > most || (b + c) > most / a) return false;
    size = a * (b + c);
    return true;
}

bool nurbs_t::allocate(std::uint64_t m, std::uint64_t k1, std::uint64_t n, std::uint64_t k2) {
    libutils::refvector2<control_point_t> old = std::move(points_);
    const std::uint64_t old_m = std::exchange(m_, 0), old_n = std::exchange(n_, 0);
    k1_ = k2_ = 0;
    std::uint64_t knots1 = 0, knots2 = 0, points = 0;
    if (m == 0 || k1 == 0 || n == 0 || k2 == 0 || !table_size(n, m, k1, knots1) ||
        !table_size(m, n, k2, knots2) || !table_size(n, m, 0, points))
        return false;
    if (!knots1_.allocate(knots1) || !knots2_.allocate(knots2) || !weights_.allocate(points) ||
        !points_.allocate(points) || !size_points(points))
        return false;
    for (std::uint64_t j = 0; j < std::min(n, old_n); ++j)
        std::copy_n(old.data() + j * old_m, std::min(m, old_m), points_.data() + j * m);
    m_ = m;
    k1_ = k1;
    n_ = n;
    k2_ = k2;
    drawn_points_.release();
    points_revision_.change();
    return true;
}

bool nurbs_t::MakeCtlpts() {
    step("nurbs_t::MakeCtlpts(0)");
    if (!drawn_points_.allocate(points_.size())) return false;
    std::copy(points_.begin(), points_.end(), drawn_points_.begin());
    step("nurbs_t::MakeCtlpts(1)");
    if (!size_points(points_.size())) return false;
    points_revision_.change();
    step("nurbs_t::MakeCtlpts(2)");
    return true;
}

bool nurbs_t::afterload(const std::string& name) {
    step("nurbs_t::afterload(1)");
    if (!MakeCtlpts()) return report("makeCtlpts() error.");
    step("nurbs_t::afterload(2)");
    set_name(name);
    clearmarks();
    step("nurbs_t::afterload(3)");
    step("nurbs_t::afterload(4)");
    return true;
}

bool nurbs_t::MakeVertices5(polygon_t& polygon, std::uint64_t most) const {
    const std::uint32_t ru = resolution_u_, rv = resolution_v_;
    if (m_ == 0 || ru == 0 || rv == 0 || std::uint64_t(ru) * rv > std::min(most, most_vertices) ||
        !polygon.allocate(std::uint64_t(ru) * rv, grid_element_count(ru, rv)))
        return report("polygon.allocate() fail.");
    polygon.rebuildpolyids(name());
    grid_elements(ru, rv, polygon.edit_elements());
    step("MakeVertices5");
    return true;
}

void nurbs_t::updateVertices(polygon_t& polygon) const {
    if (polygon.vertex_count() != std::uint64_t(resolution_u_) * resolution_v_ || m_ == 0) return;
    step("nurbs_t::updateVertices() mapping.");
    evaluate_grid(net(), resolution_u_, resolution_v_, polygon.edit_vertices());
    updateNormals(polygon);
}

void nurbs_t::updateNormals(polygon_t& polygon) const {
    if (polygon.vertex_count() != std::uint64_t(resolution_u_) * resolution_v_) return;
    grid_steps(polygon.vertices(), resolution_u_, resolution_v_, polygon.edit_wknmls());
}

nurbs_net nurbs_t::net() const {
    return {m_, k1_, n_, k2_, knots1_.data(), knots2_.data(), weights_.data(), points_.data()};
}

parameter_view nurbs_t::parameter_table(std::uint32_t index) const {
    switch (index) {
    case 0:
        return {knots1_.data(), 1, knots1_.size()};
    case 1:
        return {knots2_.data(), 1, knots2_.size()};
    case 2:
        return {weights_.data(), 1, weights_.size()};
    default:
        return {};
    }
}

const_array_view nurbs_t::getarray(std::uint32_t index) const {
    if (index != 0) return {};
    return {reinterpret_cast<const float*>(drawn_points_.data()), drawn_points_.size(), 7};
}

array_view nurbs_t::getarray(std::uint32_t index) {
    if (index != 0) return {};
    points_revision_.change();
    return {reinterpret_cast<float*>(drawn_points_.data()), drawn_points_.size(), 7};
}

void nurbs_t::getbound(render::pos3& min, render::pos3& max) const {
    std::optional<render::box3> box;
    for (const control_point_t& point : points())
        render::enclose(box, point.position);
    min = box ? box->min : render::pos3{};
    max = box ? box->max : render::pos3{};
}

void nurbs_t::clear() {
    m_ = k1_ = n_ = k2_ = 0;
    knots1_.release();
    knots2_.release();
    weights_.release();
    points_.release();
    drawn_points_.release();
    resolution_u_ = resolution_v_ = default_resolution;
    points_revision_.change();
    modeling_t::clear();
}

} // namespace pmt3d
