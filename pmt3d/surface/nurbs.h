#pragma once
// A rational B-spline surface, and its tessellation into a polygon surface.

#include "pmt3d/surface/modeling.h"
#include "pmt3d/surface/nurbs_evaluation.h"
#include "pmt3d/surface/polygon.h"

#include <cstdint>
#include <span>
#include <string>

namespace pmt3d {

// A net of n rows of m control points with colours. Row j has its own knots along u (order k1), column i its
// own along v (order k2); an order is the degree plus 1. The control points are this surface's points: they
// can be marked and drawn. A plain value; copies are deep.
//
// The tables below are stored row after row (the columns' knots column after column). Making a surface is:
// allocate(), the tables, afterload(); then MakeVertices5() and updateVertices() into a polygon surface, and
// the caller's frame update on that.
class nurbs_t : public modeling_t {
public:
    static constexpr std::uint32_t default_resolution = 33;
    static constexpr std::uint64_t most_vertices = std::uint64_t(1) << 26; // of a tessellation

    nurbs_t() = default;
    nurbs_t(const nurbs_t& other) : modeling_t() { *this = other; }
    nurbs_t& operator=(const nurbs_t& other);

    // Takes the sizes, with fresh tables of zeros; control points that old and new net both have are kept.
    // False for a size of 0, or when there is no room; the surface has then no net.
    bool allocate(std::uint64_t m, std::uint64_t k1, std::uint64_t n, std::uint64_t k2);
    // Prepares the control points for drawing, sets the name and clears the marks. False, after one line
    // on standard error, when there is no room.
    bool afterload(const std::string& name);
    // Makes the array of control points that is drawn, and their marks. False when there is no room.
    bool MakeCtlpts();

    // Sizes the polygon surface for the tessellation, gives it the name, and writes the strips. False, after
    // one line on standard error, when the resolution is 0, asks for more than `most` vertices, or there is
    // no room. The polygon ids are those of the fresh polygon surface, before the strips.
    bool MakeVertices5(polygon_t& polygon, std::uint64_t most = most_vertices) const;
    // Evaluates the surface at every vertex that MakeVertices5() has made, then updateNormals().
    void updateVertices(polygon_t& polygon) const;
    // Writes the steps between the vertices into the polygon surface's wknmls(), see grid_steps().
    void updateNormals(polygon_t& polygon) const;

    std::uint64_t m() const { return m_; }
    std::uint64_t k1() const { return k1_; }
    std::uint64_t n() const { return n_; }
    std::uint64_t k2() const { return k2_; }
    std::uint32_t resolution_u() const { return resolution_u_; }
    std::uint32_t resolution_v() const { return resolution_v_; }
    void set_resolution(std::uint32_t u, std::uint32_t v) {
        resolution_u_ = u;
        resolution_v_ = v;
    }
    std::span<float> knots1() { return {knots1_.data(), knots1_.size()}; }    // n rows of m + k1
    std::span<float> knots2() { return {knots2_.data(), knots2_.size()}; }    // m rows of n + k2
    std::span<float> weights() { return {weights_.data(), weights_.size()}; } // n rows of m
    std::span<control_point_t> points() { return {points_.data(), points_.size()}; }
    std::span<const float> knots1() const { return {knots1_.data(), knots1_.size()}; }
    std::span<const float> knots2() const { return {knots2_.data(), knots2_.size()}; }
    std::span<const float> weights() const { return {weights_.data(), weights_.size()}; }
    std::span<const control_point_t> points() const { return {points_.data(), points_.size()}; }
    nurbs_net net() const;
    const revision_t& points_revision() const { return points_revision_; } // of the array below

    std::uint32_t parameter_table_count() const override { return 3; }
    // 0 knots1, 1 knots2, 2 weights.
    parameter_view parameter_table(std::uint32_t index) const override;
    std::uint32_t typecode() const override { return 1; }
    // 0 the control point array made by MakeCtlpts().
    const_array_view getarray(std::uint32_t index) const override;
    array_view getarray(std::uint32_t index) override;
    // Over all control points; (0, 0, 0) twice when there are none.
    void getbound(render::pos3& min, render::pos3& max) const override;
    void clear() override;

private:
    std::uint64_t m_ = 0, k1_ = 0, n_ = 0, k2_ = 0;
    libutils::refvector2<float> knots1_, knots2_, weights_;
    libutils::refvector2<control_point_t> points_;
    libutils::refvector2<control_point_t> drawn_points_;
    std::uint32_t resolution_u_ = default_resolution, resolution_v_ = default_resolution;
    revision_t points_revision_;
};

} // namespace pmt3d
