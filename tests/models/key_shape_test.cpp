#include "models/key_shape.h"
#include "models/layout/key_layout.h"
#include "pmt3d/surface/stripping.h"
#include "render/math/operations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>
#include <utility>

using namespace models;
using pmt3d::triangle;
using render::pos3;

namespace {

std::vector<triangle> assemble(const std::vector<pmt3d::element_t>& elements) {
    std::vector<triangle> triangles;
    pmt3d::for_each_triangle(elements, pmt3d::strip_end, [&](auto, bool, auto a, auto b, auto c) {
        triangles.push_back({a, b, c});
    });
    return triangles;
}

} // namespace

TEST(KeyLayout, FillsSeventyFiveUnitsWithBlackKeysInTwosAndThrees) {
    // How far the middle of a black key lies to the right of the line between its white neighbours.
    const std::map<int, float> offsets{{1, -0.10f}, {3, 0.10f}, {6, -0.15f}, {8, 0.0f}, {10, 0.15f}};
    float front = -37.5f, back = -37.5f;
    for (int note = 0; note < key_count; ++note) {
        const key_place place = place_of(note);
        EXPECT_NEAR(place.tail_left, back, 1e-4f) << note; // behind, whites and blacks alternate
        back = place.tail_right;
        const auto offset = offsets.find(note % 12);
        ASSERT_EQ(place.black, offset != offsets.end()) << note;
        if (place.black) {
            EXPECT_NEAR((place.left + place.right) / 2 - front, offset->second, 0.01f) << note;
            continue;
        }
        EXPECT_NEAR(place.left, front, 1e-4f) << note;
        front += 1;
        EXPECT_NEAR(place.right, front, 1e-4f) << note;
    }
    EXPECT_NEAR(front, 37.5f, 1e-4f);
    EXPECT_NEAR(back, 37.5f, 1e-4f); // the last G has no cut-out on its right
}

TEST(KeyShape, IsASolidWithinItsPlace) {
    for (int note = 0; note < key_count; ++note) {
        SCOPED_TRACE(note);
        const key_mesh mesh = make_key(note);
        const key_place place = place_of(note);
        // Vertices in one place count as one: an edge of a closed surface then has exactly two triangles,
        // which run along it in opposite directions.
        std::map<std::tuple<float, float, float>, std::size_t> places;
        std::vector<std::size_t> id;
        for (const key_vertex& v : mesh.vertices) {
            const pos3& p = v.position;
            id.push_back(places.emplace(std::tuple(p.x, p.y, p.z), places.size()).first->second);
            EXPECT_TRUE(p.x > place.left && p.x < place.right && p.y <= (place.black ? 0.5f : 0.0f));
            EXPECT_TRUE(p.z >= key_back && p.z <= key_back + (place.black ? black_length : white_length));
            EXPECT_TRUE(p.z >= key_back + black_length || (p.x > place.tail_left && p.x < place.tail_right));
            EXPECT_NEAR(render::length(v.normal), 1, 1e-3f);
            EXPECT_NEAR(render::dot(v.normal, v.tangent), 0, 1e-3f);
            EXPECT_NEAR(render::dot(render::cross(v.tangent, v.binormal), v.normal), 1, 2e-3f);
            EXPECT_TRUE(v.color.r > 0 && v.color.r <= 1 && v.color.a == 1);
            if (place.black && p.y == 0.5f && v.normal.z > -0.5f) { // not the far end's
                EXPECT_GT(v.normal.x * (p.x - (place.left + place.right) / 2), 0) << "a crown";
                EXPECT_NEAR(v.tangent.z, 0, 0.2f) << "rolled, not upright";
            }
        }
        EXPECT_TRUE(std::any_of(mesh.vertices.begin(), mesh.vertices.end(), [](const key_vertex& v) {
            return v.normal.x < -0.9f && v.tangent.z > 0.9f;
        })) << "upright on the front's corners";
        std::map<std::pair<std::size_t, std::size_t>, int> edges;
        float volume = 0;
        for (const triangle& t : assemble(mesh.elements)) {
            const pos3 &a = mesh.vertices[t[0]].position, &b = mesh.vertices[t[1]].position,
                       &c = mesh.vertices[t[2]].position;
            const render::dir3 across = render::cross(b - a, c - b);
            EXPECT_GT(render::length(across), 1e-5f);
            for (int k = 0; k < 3; ++k) {
                const key_vertex &from = mesh.vertices[t[k]], &to = mesh.vertices[t[(k + 1) % 3]];
                ++edges[{id[t[k]], id[t[(k + 1) % 3]]}];
                // Shaded as it lies, but for the walls of the gaps, as if turned away from the light.
                EXPECT_TRUE(std::abs(from.normal.y + 0.84f) < 0.04f ||
                            across.y < -0.5f * render::length(across) ||
                            render::dot(from.normal, across) > 0.3f * render::length(across));
                // The textures run as the tangents do, on top s to the right and t away from the player, and
                // are rolled down over the sides.
                const bool on_top = from.normal.y > 0.85f && to.normal.y > 0.85f;
                const bool on_side =
                    from.tangent.y * to.tangent.y > 0.9f && from.normal.x * to.normal.x > 0.9f;
                if (!on_top && !on_side) continue;
                const render::dir3 way = to.position - from.position;
                EXPECT_NEAR(to.texcoord.s - from.texcoord.s, render::dot(way, from.tangent) / 2, 0.1f);
                EXPECT_NEAR(to.texcoord.t - from.texcoord.t, render::dot(way, from.binormal) / 8, 0.1f);
            }
            volume += render::dot(across, render::dir3{a.x - place.left, a.y, a.z}) / 6;
        }
        for (const auto& [edge, count] : edges)
            EXPECT_TRUE(count == 1 && edges.contains({edge.second, edge.first}));
        EXPECT_TRUE(volume > 1 && volume < 6.4f) << "counter-clockwise from outside";
        EXPECT_LT(mesh.vertices.size(), 120u);
    }
}

TEST(KeyShape, BlackKeysAndTheLidTakeLightFromTheTails) {
    // The light on a white key's top between the lid and the black keys' front, at its left or right rim.
    const auto light = [](int note, bool left, float from, float to) {
        const key_place place = place_of(note);
        float most = 0;
        for (const key_vertex& v : make_key(note).vertices)
            if ((v.position.x < (place.left + place.right) / 2) == left && v.position.y == 0 &&
                v.position.z >= key_back + from && v.position.z <= key_back + to)
                most = std::max(most, v.color.r);
        return most;
    };
    const int c = 60, d = 62, e = 64;
    EXPECT_EQ(light(c, true, 1, 4), 1.0f);
    EXPECT_EQ(light(e, false, 1, 4), 1.0f);
    EXPECT_LT(light(d, true, 1, 4), light(d, false, 1, 4)) << "the light comes from the left";
    EXPECT_EQ(light(d, true, 1, 4), light(e, true, 1, 4));
    EXPECT_EQ(light(d, false, 1, 4), light(c, false, 1, 4));
    EXPECT_LT(light(c, false, 1, 4), 1.0f);
    EXPECT_LT(light(c, true, 0, 0.5f), 0.7f);
}

TEST(KeyShape, NeighboursWearDifferentPiecesOfThePictures) {
    const auto part = [](float place) { return place - std::floor(place); };
    float s = -1, t = -1; // of the pictures, relative to the key's place
    for (int note = 0; note < key_count; ++note) {
        const key_vertex v = make_key(note).vertices.front();
        const float before_s = std::exchange(s, part(v.texcoord.s - v.position.x / 2)),
                    before_t = std::exchange(t, part(v.texcoord.t + v.position.z / 8));
        EXPECT_TRUE(std::abs(s - before_s) > 0.1f && std::abs(t - before_t) > 0.1f) << note;
    }
}
