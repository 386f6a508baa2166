#include "render/math/operations.h"
#include "tools/pmt3d/triangle_mesh.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <numbers>
#include <vector>

namespace {

using namespace tool;
using pmt3d::element_t;
using pmt3d::frame_t;
using pmt3d::vertex_t;
using render::dir3;
using render::pos3;

// Triangles that share nothing, as in an STL file; four corners are a quadrangle.
class soup {
public:
    void add(const std::vector<vertex_t>& corners) {
        for (std::size_t i = 2; i < corners.size(); ++i) {
            const auto n = element_t(mesh_.vertices.size());
            mesh_.triangles.push_back({n, n + 1, n + 2});
            for (const vertex_t& v : {corners[0], corners[i - 1], corners[i]})
                mesh_.vertices.push_back(v);
        }
        mesh_.frames.resize(mesh_.vertices.size());
    }
    triangle_mesh smooth(float degrees) const {
        triangle_mesh mesh = mesh_;
        weld_and_smooth(mesh, degrees);
        complete_frames(mesh);
        EXPECT_EQ(mesh.frames.size(), mesh.vertices.size());
        for (const frame_t& f : mesh.frames) {
            EXPECT_NEAR(render::length(f.normal), 1, 1e-5);
            EXPECT_NEAR(render::length(f.tangent), 1, 1e-5);
            EXPECT_NEAR(std::abs(render::triple_product(f.tangent, f.binormal, f.normal)), 1, 1e-5);
        }
        return mesh;
    }

private:
    triangle_mesh mesh_;
};

vertex_t at(float x, float y, float z, float s = 0, float t = 0) {
    return {{x, y, z}, {1, 1, 1, 1}, {s, t}};
}

dir3 toward(const pos3& p) {
    return render::normalise(p);
}

float degrees_between(const dir3& a, const dir3& b) {
    return std::atan2(render::length(render::cross(a, b)), render::dot(a, b)) * 180 /
           std::numbers::pi_v<float>;
}

soup cube() {
    soup s;
    for (int axis = 0; axis < 3; ++axis)
        for (const float side : {-1.0f, 1.0f}) {
            std::vector<vertex_t> face;
            for (int i = 0; i < 4; ++i) {
                float c[3];
                c[axis] = side;
                c[(axis + 1) % 3] = i == 1 || i == 2 ? side : -side;
                c[(axis + 2) % 3] = i < 2 ? -1.0f : 1.0f;
                face.push_back(at(c[0], c[1], c[2]));
            }
            s.add(face);
        }
    return s;
}

TEST(triangle_mesh, a_cube_keeps_its_edges_below_a_right_angle) {
    for (const auto& [degrees, vertices] :
         std::map<float, std::size_t>{{0, 36}, {30, 24}, {89, 24}, {90, 8}, {180, 8}}) {
        const triangle_mesh mesh = cube().smooth(degrees);
        EXPECT_EQ(mesh.vertices.size(), vertices) << degrees;
        for (const auto& t : mesh.triangles) {
            const pos3 &a = mesh.vertices[t[0]].position, &b = mesh.vertices[t[1]].position,
                       &c = mesh.vertices[t[2]].position;
            const dir3 face = render::unit_triangle_normal(a, b, c);
            EXPECT_GT(render::dot(face, a - pos3{}), 0) << "counter-clockwise from outside";
            for (const element_t v : t) // a corner counts each face with its right angle, however it is cut
                EXPECT_LT(degrees_between(mesh.frames[v].normal,
                                          degrees < 90 ? face : toward(mesh.vertices[v].position)),
                          0.001f);
        }
    }
}

TEST(triangle_mesh, normals_of_a_sphere) {
    constexpr int rows = 24, columns = 48;
    const auto point = [](int row, int column) {
        const double theta = std::numbers::pi * row / rows,
                     phi = 2 * std::numbers::pi * (column % columns) / columns;
        const double r = row % rows == 0 ? 0 : std::sin(theta);
        return at(float(r * std::cos(phi)), float(std::cos(theta)), float(-r * std::sin(phi)),
                  float(column) / columns, 1 - float(row) / rows);
    };
    soup s;
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns; ++column)
            s.add({point(row, column), point(row + 1, column), point(row + 1, column + 1),
                   point(row, column + 1)});
    const triangle_mesh mesh = s.smooth(30);
    for (std::size_t v = 0; v < mesh.vertices.size(); ++v) {
        const pos3& p = mesh.vertices[v].position;
        const frame_t& f = mesh.frames[v];
        EXPECT_LT(degrees_between(f.normal, toward(p)), 0.4f);
        if (std::abs(p.y) > 0.99f) continue;
        EXPECT_LT(degrees_between(f.tangent, toward(pos3{p.z, 0, -p.x})), 4) << "east";
        EXPECT_GT(f.binormal.y, 0) << "north";
    }
    // The seam's are there twice; a pole has one for each of its triangles.
    EXPECT_EQ(mesh.vertices.size(), (rows - 1) * (columns + 1) + 2u * columns);
}

} // namespace
