#include "render/math/operations.h"
#include "tools/pmt3d/triangle_mesh.h"

#include <gtest/gtest.h>

#include <algorithm>
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
        // Every triangle still has its corners; those with two corners in one place are gone.
        auto t = mesh.triangles.begin();
        for (const auto& before : mesh_.triangles) {
            const auto corner = [&](int i) -> const vertex_t& { return mesh_.vertices[before[i]]; };
            if (corner(0).position == corner(1).position || corner(1).position == corner(2).position ||
                corner(2).position == corner(0).position)
                continue;
            if (t == mesh.triangles.end()) {
                ADD_FAILURE() << "a triangle is missing";
                break;
            }
            for (int i = 0; i < 3; ++i) {
                const vertex_t& after = mesh.vertices[(*t)[i]];
                EXPECT_TRUE(after.position == corner(i).position && after.color == corner(i).color &&
                            after.texcoord == corner(i).texcoord);
            }
            ++t;
        }
        EXPECT_EQ(t, mesh.triangles.end());
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

TEST(triangle_mesh, normals_of_a_sphere_of_any_size) {
    constexpr int rows = 24, columns = 48;
    for (const float size : {1.0f, 1e-30f, 1e30f}) {
        const auto point = [size](int row, int column) {
            const double theta = std::numbers::pi * row / rows,
                         phi = 2 * std::numbers::pi * (column % columns) / columns;
            const double r = row % rows == 0 ? 0 : std::sin(theta); // zeros of both signs at the poles
            return at(size * float(r * std::cos(phi)), size * float(std::cos(theta)),
                      size * float(-r * std::sin(phi)), float(column) / columns, 1 - float(row) / rows);
        };
        soup s;
        for (int row = 0; row < rows; ++row)
            for (int column = 0; column < columns; ++column)
                s.add({point(row, column), point(row + 1, column), point(row + 1, column + 1),
                       point(row, column + 1)});
        const triangle_mesh mesh = s.smooth(30);
        for (std::size_t v = 0; v < mesh.vertices.size(); ++v) {
            const pos3& p = mesh.vertices[v].position;
            const dir3 out = toward({p.x / size, p.y / size, p.z / size});
            const frame_t& f = mesh.frames[v];
            EXPECT_LT(degrees_between(f.normal, out), 0.4f);
            if (std::abs(out.y) > 0.99f) continue;
            EXPECT_LT(degrees_between(f.tangent, toward({out.z, 0, -out.x})), 4) << "east";
            EXPECT_GT(f.binormal.y, 0) << "north";
        }
        // The seam's are there twice; a pole has one for each of its triangles.
        EXPECT_EQ(mesh.vertices.size(), (rows - 1) * (columns + 1) + 2u * columns);
    }
}

TEST(triangle_mesh, edges_at_the_angle_are_smooth) {
    // A prism of twelve sides: its edges have 30 degrees.
    soup s;
    const auto post = [](int i, float z) {
        const double angle = std::numbers::pi / 6 * i;
        return at(float(std::cos(angle)), float(std::sin(angle)), z);
    };
    for (int i = 0; i < 12; ++i)
        s.add({post(i, 0), post((i + 1) % 12, 0), post((i + 1) % 12, 1), post(i, 1)});
    EXPECT_EQ(s.smooth(30).vertices.size(), 24u);
    EXPECT_EQ(s.smooth(29.9f).vertices.size(), 48u);
}

TEST(triangle_mesh, what_no_solid_has) {
    // A sheet with a front and a back: each has its normals.
    soup sheet;
    sheet.add({at(0, 0, 0), at(1, 0, 0), at(1, 1, 0), at(0, 1, 0)});
    sheet.add({at(0, 0, 0), at(0, 1, 0), at(1, 1, 0), at(1, 0, 0)});
    const triangle_mesh both = sheet.smooth(120);
    EXPECT_EQ(both.vertices.size(), 8u);
    for (std::size_t t = 0; t < 4; ++t)
        EXPECT_EQ(both.frames[both.triangles[t][0]].normal, (dir3{0, 0, t < 2 ? 1.0f : -1.0f}));
    sheet.smooth(180); // has frames all the same
    // A triangle without an area, and one that is wound against its neighbours.
    soup odd = cube();
    odd.add({at(-1, -1, 1), at(0, -1, 1), at(1, -1, 1)});
    odd.add({at(0, 0, 1), at(1, 0, 1), at(1, -1, 1)});
    const triangle_mesh mesh = odd.smooth(60);
    EXPECT_EQ(mesh.vertices.size(), 28u) << "the cube's, one on its edge, and three that see it from within";
    for (const auto& t : mesh.triangles)
        for (const element_t v : t) {
            const pos3 &a = mesh.vertices[t[0]].position, &b = mesh.vertices[t[1]].position,
                       &c = mesh.vertices[t[2]].position;
            if (const dir3 face = render::unit_triangle_normal(a, b, c); face != dir3{}) {
                EXPECT_LT(degrees_between(mesh.frames[v].normal, face), 0.001f);
            }
        }
    // A tent of many triangles with one tip.
    soup tent;
    constexpr int sides = 100'000;
    const auto foot = [](int i) {
        const double angle = 2 * std::numbers::pi * (i % sides) / sides;
        return at(float(std::sin(angle)), 0, float(std::cos(angle)));
    };
    for (int i = 0; i < sides; ++i)
        tent.add({at(0, 1, 0), foot(i), foot(i + 1)});
    const triangle_mesh cone = tent.smooth(60);
    ASSERT_EQ(cone.vertices.size(), sides + 1u);
    EXPECT_LT(degrees_between(cone.frames[cone.triangles[0][0]].normal, {0, 1, 0}), 0.01f);
}

TEST(triangle_mesh, becomes_a_surface) {
    pmt3d::polygon_t surface;
    surface.set_name("cube");
    ASSERT_TRUE(fill(surface, cube().smooth(30)));
    EXPECT_EQ(surface.name(), "cube");
    EXPECT_EQ(surface.vertex_count(), 24u);
    EXPECT_EQ(surface.polyid(11).start, surface.element_count() - 3) << "numbered by its strips";
    ASSERT_TRUE(smooth(surface, 100));
    EXPECT_EQ(surface.name(), "cube");
    EXPECT_EQ(surface.vertex_count(), 8u);
}

TEST(triangle_mesh, tangents_follow_the_texture_also_where_it_is_mirrored) {
    // Two squares beside one another, the picture running away from their common edge and, turned, up or
    // down.
    for (const float up : {1.0f, -1.0f}) {
        soup s;
        for (const float side : {-1.0f, 1.0f}) {
            std::vector<vertex_t> square = {at(0, 0, 0, 0, 0), at(side, 0, 0, 1, 0), at(side, 1, 0, 1, up),
                                            at(0, 1, 0, 0, up)};
            if (side < 0) std::reverse(square.begin() + 1, square.end());
            s.add(square);
        }
        const triangle_mesh mesh = s.smooth(30);
        EXPECT_EQ(mesh.vertices.size(), 8u) << "those of the common edge are there twice";
        for (std::size_t t = 0; t < 4; ++t)
            for (const element_t v : mesh.triangles[t]) {
                EXPECT_EQ(mesh.frames[v].tangent, (dir3{t < 2 ? -1.0f : 1.0f, 0, 0}));
                EXPECT_EQ(mesh.frames[v].binormal, (dir3{0, up, 0}));
            }
    }
    // Frames that are known stay; those without a normal are nobody's business here.
    triangle_mesh known;
    known.vertices = {at(0, 0, 0), at(1, 0, 0, 1), at(0, 1, 0, 0, 1)};
    known.triangles = {{0, 1, 2}};
    known.frames = {{{0, 1, 0}, {5, 0, 0}, {0, 0, 1}}, {{}, {}, {0, 0, 1}}, {{}, {}, {}}};
    const std::vector<frame_t> before = known.frames;
    complete_frames(known);
    for (const std::size_t same : {0, 2})
        EXPECT_EQ(known.frames[same].tangent, before[same].tangent);
    EXPECT_EQ(known.frames[0].binormal, before[0].binormal);
    EXPECT_EQ(known.frames[1].tangent, (dir3{1, 0, 0}));
    EXPECT_EQ(known.frames[1].binormal, (dir3{0, 1, 0}));
}

} // namespace
