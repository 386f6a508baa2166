#include "pmt3d/surface/polygon.h"
#include "render/math/operations.h"

#include "support/capture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iostream>
#include <limits>
#include <vector>

namespace {

using pmt3d::element_t;
using pmt3d::polygon_t;
using pmt3d::strip_end;
using test_support::capture;
using triangle = std::vector<element_t>;

void fill(polygon_t& polygon, const std::vector<element_t>& elements) {
    std::copy(elements.begin(), elements.end(), polygon.edit_elements().begin());
}

// A surface with these positions and elements, everything else 0, polygon ids counted.
polygon_t surface(const std::vector<render::pos3>& positions, const std::vector<element_t>& elements) {
    polygon_t polygon;
    EXPECT_TRUE(polygon.allocate(positions.size(), elements.size()));
    for (std::size_t i = 0; i < positions.size(); ++i)
        polygon.edit_vertices()[i].position = positions[i];
    fill(polygon, elements);
    polygon.rebuildpolyids();
    return polygon;
}

// The triangles' places by their ids, negative where two indices are swapped.
std::vector<int> places(const polygon_t& polygon) {
    std::vector<int> all;
    for (std::uint64_t id = 0; id < polygon.polyid_count(); ++id)
        if (const pmt3d::polyid_t at = polygon.polyid(id); at.start != pmt3d::polyid_t::none)
            all.push_back(at.odd ? -int(at.start) : int(at.start));
    return all;
}
using ids = std::vector<int>;

triangle selected(const polygon_t& polygon, std::uint64_t id) {
    const auto all = polygon.selectelems().subspan(3 * id, 3);
    return {all.begin(), all.end()};
}

const std::vector<render::pos3> square = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}};
const triangle nothing = {strip_end, strip_end, strip_end};

TEST(polygon, an_allocation_leaves_nothing_of_what_was_there) {
    polygon_t polygon = surface(square, {0, 1, 2, 3});
    polygon.selectpolygon(1);
    polygon.markvertex(2);
    EXPECT_EQ(polygon.mark_sizes()[2], 5.0f);
    ASSERT_TRUE(polygon.allocate(5, 7));
    for (const auto& [index, stride] : {std::pair(0u, 9u), {1u, 9u}, {2u, 12u}}) {
        const pmt3d::const_array_view floats = std::as_const(polygon).getarray(index);
        ASSERT_TRUE(floats.count == 5 && floats.stride == stride);
        EXPECT_EQ(std::count(floats.data, floats.data + 5 * stride, 0.0f), 5 * stride) << index;
    }
    EXPECT_EQ(std::as_const(polygon).getarray(3).data, nullptr);
    EXPECT_EQ(polygon.getelements()[3], 0u);
    EXPECT_EQ(polygon.selectelems().size(), 15u);
    EXPECT_TRUE(selected(polygon, 1) == nothing && polygon.selected().empty());
    EXPECT_TRUE(!polygon.marked(2) && polygon.mark_sizes()[2] == 3);
}

TEST(polygon, triangles_are_selected_by_their_ids_also_after_a_rebuild) {
    // An index of 4 ends a strip as well, and strips of one or two indices have no triangle.
    polygon_t polygon = surface(square, {0, 1, 2, 3, 4, 3, strip_end, 3, 2, 1, 77, 0, 1});
    EXPECT_EQ(places(polygon), (ids{0, -1, 7}));
    for (const std::uint32_t id : {0u, 1u, 2u, 5u}) // 5 is within the table, but there are three triangles
        polygon.selectpolygon(id);
    polygon.unselectpolygon(0);
    EXPECT_EQ(selected(polygon, 0), nothing);
    EXPECT_EQ(selected(polygon, 1), (triangle{2, 1, 3}));
    EXPECT_EQ(selected(polygon, 2), (triangle{3, 2, 1}));
    EXPECT_EQ(selected(polygon, 5), nothing);
    EXPECT_EQ(polygon.selected(), (std::set<std::uint32_t>{1, 2}));

    polygon.edit_elements()[7] = strip_end; // the last triangle is no more
    polygon.edit_elements()[0] = 3;
    polygon.rebuildpolyids("renamed");
    for (const polygon_t& after : {polygon, polygon_t(polygon)}) {
        EXPECT_TRUE(after.name() == "renamed" && places(after) == (ids{0, -1}));
        EXPECT_TRUE(selected(after, 1) == (triangle{2, 1, 3}) && selected(after, 2) == nothing);
    }
    polygon.edit_elements()[0] = strip_end;
    polygon_t copy = polygon; // whose ids are still those from before the change
    copy.rebuildpolyids();
    EXPECT_EQ(places(copy), (ids{1}));

    // Ids out of range are reported.
    const capture err(std::cerr);
    polygon = surface(square, {0, 1, 2, 3});
    polygon.unselectpolygon(2);
    polygon.selectpolygon(1);
    polygon.allocate(3, 2);
    polygon.selectpolygon(0);
    EXPECT_EQ(err.text(), "polygon_t::selectpolygon() polyid(2) >= polyidvector.size(2)\n"
                          "polygon_t::selectpolygon() polyid(0) >= polyidvector.size(0)\n");
}

TEST(polygon, ids_of_fresh_elements_are_one_strip) {
    // As a tessellation leaves them: counted before the elements are written.
    polygon_t polygon;
    polygon.allocate(4, 5);
    polygon.rebuildpolyids("grid");
    fill(polygon, {2, 0, 3, 1, strip_end});
    EXPECT_EQ(places(polygon), (ids{0, -1, 2}));
    polygon.selectpolygon(1);
    EXPECT_EQ(selected(polygon, 1), (triangle{3, 0, 1}));
    polygon.rebuildpolyids();
    EXPECT_EQ(places(polygon), (ids{0, -1}));

    polygon.allocate(0, 5); // nothing is valid
    polygon.selectpolygon(0);
    EXPECT_TRUE(polygon.selected().empty());
}

TEST(polygon, missing_frames_become_flat_and_given_ones_stay) {
    // Two triangles that do not lie in a plane, and one without an area; vertex 1 has a frame of its own.
    polygon_t polygon = surface({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1}, {2, 2, 2}}, {});
    polygon.edit_normals()[1] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    polygon.extend(5, 8);
    fill(polygon, {0, 1, 2, 3, strip_end, 4, 4, 4});
    polygon.rebuildpolyids();
    const auto frames = std::as_const(polygon).normals();
    EXPECT_EQ(frames[1].tangent, (render::dir3{1, 2, 3}));
    EXPECT_EQ(frames[1].normal, (render::dir3{7, 8, 9}));
    // Vertex 0: triangle (0, 1, 2). Its tangent runs from the third vertex to the second.
    const float h = std::sqrt(0.5f), t = 1.0f / std::sqrt(3.0f);
    const auto expect_near = [](const render::dir3& a, const render::dir3& b) {
        EXPECT_LT(render::length(a - b), 1e-6f);
    };
    expect_near(frames[0].normal, {0, 0, 1});
    expect_near(frames[0].tangent, {h, -h, 0});
    expect_near(frames[0].binormal, {h, h, 0});
    // Vertex 3: triangle (2, 1, 3), which takes vertex 2 along, as that had no frame at the start either.
    for (const int vertex : {2, 3}) {
        expect_near(frames[vertex].normal, {-t, -t, t});
        expect_near(frames[vertex].tangent, {0, -h, -h});
    }
    EXPECT_TRUE(frames[4].normal == render::dir3() && frames[4].tangent == render::dir3());
}

TEST(polygon, growing_keeps_what_was_there) {
    polygon_t polygon = surface(square, {0, 1, 2});
    polygon.selectpolygon(0);
    EXPECT_TRUE(polygon.markvertex(1) && polygon.mark_sizes()[1] == 5);
    EXPECT_FALSE(polygon.markvertex(1) || polygon.unmarkvertex(0) || polygon.markvertex(4));
    EXPECT_TRUE(polygon.markvertex(2) && polygon.mark_sizes()[2] == 5);
    ASSERT_TRUE(polygon.extend(6, 6));
    EXPECT_EQ(polygon.vertices()[3].position, square[3]);
    EXPECT_EQ(polygon.vertices()[5].position, (render::pos3{0, 0, 0}));
    EXPECT_TRUE(polygon.getelements()[2] == 2 && polygon.getelements()[4] == 0);
    EXPECT_EQ(selected(polygon, 0), (triangle{0, 1, 2}));
    EXPECT_EQ(selected(polygon, 2), nothing);
    ASSERT_TRUE(polygon.extend(1, 1)) << "grows only";
    EXPECT_TRUE(polygon.vertex_count() == 6 && polygon.element_count() == 6);
    EXPECT_EQ(places(polygon), (ids{0, -1, 2, -3})) << "the new elements are valid indices";

    EXPECT_TRUE(polygon.mark_sizes()[1] == 5 && polygon.mark_sizes()[5] == 3 && !polygon.marked(5));
    EXPECT_TRUE(polygon.unmarkvertex(1));
    polygon.clearmarks();
    EXPECT_TRUE(!polygon.marked(2) && polygon.mark_sizes()[2] == 3);
}

TEST(polygon, sizes_that_cannot_be_are_refused) {
    constexpr std::uint64_t huge = std::numeric_limits<std::uint64_t>::max();
    const std::pair<std::uint64_t, std::uint64_t> cases[] = {
        {huge, 0}, {huge / 36, 0}, {1ull << 42, 0}, {1, huge}, {1, 1ull << 32}};
    for (const auto& [vertices, elements] : cases) {
        capture err(std::cerr);
        polygon_t polygon = surface(square, {0, 1, 2, 3});
        EXPECT_FALSE(polygon.extend(vertices, elements));
        EXPECT_EQ(err.take(), elements ? "elements.allocate() failed.\n" : "vertices.extend() failed.\n");
        EXPECT_EQ(polygon.vertex_count(), 4u); // as it was
        EXPECT_EQ(polygon.vertices()[3].position, square[3]);
        EXPECT_EQ(places(polygon), (ids{0, -1}));
        EXPECT_FALSE(polygon.allocate(vertices, elements));
        EXPECT_EQ(err.take(), elements ? "elements.allocate() failed.\n" : "vertices.allocate() failed.\n");
        EXPECT_EQ(polygon.vertex_count(), 0u);
        polygon.rebuildpolyids();
        EXPECT_EQ(polygon_t(polygon).element_count(), 0u);
    }
}

TEST(polygon, bounds_follow_the_elements) {
    const polygon_t polygon = surface({{5, 5, 5}, {1, -2, 3}, {2, 2, 1}}, {9, 1, 2, 3, strip_end});
    render::pos3 min{8, 8, 8}, max{8, 8, 8};
    polygon_t().getbound(min, max);
    EXPECT_EQ(min, (render::pos3{8, 8, 8}));
    polygon.getbound(min, max);
    EXPECT_EQ(min, (render::pos3{1, -2, 1}));
    EXPECT_EQ(max, (render::pos3{2, 2, 3}));
}

TEST(polygon, copies_are_their_own_and_clear_empties) {
    polygon_t polygon = surface(square, {0, 1, 2, 3});
    polygon.markvertex(2);
    polygon.set_name("first");
    polygon_t copy = polygon;
    polygon.edit_vertices()[0].position.x = 9.0f;
    polygon.unmarkvertex(2);
    EXPECT_TRUE(copy.vertices()[0].position.x == 0 && copy.marked(2));
    copy.clear();
    EXPECT_TRUE(copy.name().empty() && copy.vertex_count() == 0 && copy.polyid_count() == 0 &&
                copy.mark_sizes().empty());
}

} // namespace
