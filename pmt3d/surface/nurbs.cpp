#include "pmt3d/surface/nurbs.h"

#include "libgr/texture/surface_texture.h"
#include "libutils/error_report.h"
#include "pmt3d/surface/nurbs_tessellation.h"
#include "render/gl/step_check.h"
#include "render/gl/vertex_array.h"

#include <algorithm>
#include <iostream>
#include <utility>

namespace pmt3d {

using render::step_check;

static bool fail(const char* message) {
    libutils::error_report();
    std::cerr << message << '\n';
    return false;
}

// The control points in the GL: positions at location 0, colours at 1, mark sizes at 2.
struct nurbs_t::mirror_t {
    render::array_buffer_t points;
    render::vertex_array_t layout;
};

nurbs_t::nurbs_t(libgr::texture_t& texture, polygon_t& polygon) : texture_(&texture), polygon_(&polygon) {}
nurbs_t::~nurbs_t() = default;

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

// a (b + c) elements of the given number of bytes, unless that is more than any table can be.
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
    mirror_.reset();
    return true;
}

bool nurbs_t::MakeCtlpts() {
    step_check("nurbs_t::MakeCtlpts(0)");
    if (!drawn_points_.allocate(points_.size())) return false;
    std::copy(points_.begin(), points_.end(), drawn_points_.begin());
    step_check("nurbs_t::MakeCtlpts(1)");
    if (!size_points(points_.size())) return false;
    mirror_.reset();
    step_check("nurbs_t::MakeCtlpts(2)");
    return true;
}

bool nurbs_t::afterload(const std::string& name) {
    step_check("nurbs_t::afterload(1)");
    if (!MakeCtlpts()) return fail("makeCtlpts() error.");
    step_check("nurbs_t::afterload(2)");
    set_name(name);
    clearmarks();
    step_check("nurbs_t::afterload(3)");
    mirror_.reset(); // the layout is made on the first draw
    step_check("nurbs_t::afterload(4)");
    return true;
}

bool nurbs_t::MakeVertices5(std::uint64_t most) {
    const std::uint32_t ru = resolution_u_, rv = resolution_v_;
    if (m_ == 0 || ru == 0 || rv == 0 || std::uint64_t(ru) * rv > std::min(most, most_vertices) ||
        !polygon_->allocate(std::uint64_t(ru) * rv, grid_element_count(ru, rv)))
        return fail("polygon.allocate() fail.");
    texture_->open(name());
    polygon_->rebuildpolyids(name());
    grid_elements(ru, rv, polygon_->edit_elements());
    step_check("MakeVertices5");
    return true;
}

void nurbs_t::updateVertices() {
    // Only what MakeVertices5() has sized can be filled.
    if (polygon_->vertex_count() != std::uint64_t(resolution_u_) * resolution_v_ || m_ == 0) return;
    step_check("nurbs_t::updateVertices() mapping.");
    evaluate_grid(net(), resolution_u_, resolution_v_, polygon_->edit_vertices());
    updateNormals();
}

void nurbs_t::updateNormals() {
    if (polygon_->vertex_count() != std::uint64_t(resolution_u_) * resolution_v_) return;
    grid_steps(polygon_->vertices(), resolution_u_, resolution_v_, polygon_->edit_wknmls());
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
    mirror_.reset();
    return {reinterpret_cast<float*>(drawn_points_.data()), drawn_points_.size(), 7};
}

void nurbs_t::draw_points() {
    using enum render::attribute;
    if (!render::has_context() || drawn_points_.empty()) return;
    if (!mirror_) {
        static const render::layout_ref layout = render::make_layout({position, rgba});
        mirror_ = std::make_unique<mirror_t>();
        if (!mirror_->points.allocate(drawn_points_.size(), layout, drawn_points_.data())) return;
        mirror_->layout.create();
        mirror_->points.bind_layout_to(mirror_->layout, 0);
        mark_array().bind_layout_to(mirror_->layout, 2);
    }
    mark_array();
    mirror_->layout.draw_arrays(render::primitive::points, drawn_points_.size());
}

void nurbs_t::getbound(render::pos3& min, render::pos3& max) const {
    min = max = points_.empty() ? render::pos3{} : points_[0].position;
    for (const control_point_t& point : points()) {
        const render::pos3& p = point.position;
        min = {std::min(min.x, p.x), std::min(min.y, p.y), std::min(min.z, p.z)};
        max = {std::max(max.x, p.x), std::max(max.y, p.y), std::max(max.z, p.z)};
    }
}

void nurbs_t::clear() {
    m_ = k1_ = n_ = k2_ = 0;
    knots1_.release();
    knots2_.release();
    weights_.release();
    points_.release();
    drawn_points_.release();
    resolution_u_ = resolution_v_ = default_resolution;
    mirror_.reset();
    modeling_t::clear();
}

} // namespace pmt3d
