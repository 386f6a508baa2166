#include "pmt3d/format/dispatch.h"
#include "pmt3d/format/line_reader.h"
#include "pmt3d/format/stl.h"

#include "pmt3d/loading.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <functional>
#include <limits>
#include <random>
#include <tuple>
#include <vector>

namespace {

using pmt3d::model_item_t;
using pmt3d::strip_end;
using pmt3d::surface_list;
using test_support::read_file;

class stl : public loading {
protected:
    // Loads a file of these bytes.
    bool load(surface_list& items, std::string_view bytes) {
        return pmt3d::load_stl(items, directory_.write("x.stl", bytes), {std::cerr});
    }
};

template <class T>
std::string raw(const T& value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

using corners = std::array<render::pos3, 3>;

std::string binary(std::uint32_t count, const std::vector<corners>& triangles,
                   const std::string& header = "header") {
    std::string bytes = header + std::string(80 - header.size(), ' ') + raw(count);
    for (const corners& t : triangles)
        bytes += raw(render::dir3{9, 9, 9}) + raw(t) + "ab";
    return bytes;
}

std::string facet(const std::string& vertices) {
    return " facet normal 0 0 1 \n  outer loop\t\r\n" + vertices + " endloop\nendfacet\n";
}
const std::string good_vertices = "vertex 0 0 0\n   vertex +1e0 -0.0 0 \r\n\tvertex 0,1,0\n";

const corners right_angle = {{{0, 0, 0}, {2, 0, 0}, {0, 3, 0}}};

TEST_F(stl, both_forms_give_triangles_of_their_own) {
    surface_list items;
    ASSERT_TRUE(load(items, binary(2, {right_angle, {{{1, 1, 1}, {1, 1, 1}, {1, 1, 1}}}})));
    ASSERT_TRUE(load(items, "solid some name\n" + facet("vertex 0 0 0\nvertex 2 0 0\nvertex 0 3 0\n") +
                                facet("vertex 1 1 1\nvertex 1 1 1\nvertex 1 1 1\n") + "endsolid some name"));
    for (const model_item_t& item : items) {
        EXPECT_EQ(item.polygon.name(), directory_.file("x.stl"));
        ASSERT_EQ(item.polygon.vertex_count(), 6u);
        const pmt3d::element_t strips[] = {0, 1, 2, strip_end, 3, 4, 5, strip_end};
        EXPECT_TRUE(std::ranges::equal(item.polygon.getelements(), strips));
        EXPECT_EQ(item.polygon.polyid(1).start, 4u);
        const auto& [position, color, texcoord] = item.polygon.vertices()[1];
        EXPECT_TRUE(position == render::pos3(2, 0, 0) && texcoord == render::txc2(0, 0));
        EXPECT_TRUE(color == render::col3a(0.5f, 0.5f, 0.5f, 1));
        const auto& [tangent, binormal, normal] = item.polygon.normals()[1];
        EXPECT_TRUE(normal == render::dir3(0, 0, 1) && tangent == render::dir3(0, 1, 0));
        EXPECT_TRUE(binormal == render::dir3(1, 0, 0)) << "tangent x normal";
        EXPECT_TRUE(item.polygon.normals()[5].normal == render::dir3()) << "no area";
    }
    EXPECT_EQ(err_.take(), "");
}

TEST_F(stl, text_begins_like_text_and_is_not_as_long_as_a_binary_file) {
    const std::vector<corners> two(2, right_angle);
    const std::string named = binary(2, two, "solid but binary");
    const std::pair<std::string, std::uint64_t> cases[] = {
        {named, 2},
        {named + "x", 2},
        {binary(2, two) + "more", 2},
        {binary(2, two, "solid facet"), 2},
        {binary(2, two, "solid facet") + "x", 0}, // text, if not a good one
        {named.substr(0, named.size() - 1), 0},
        {binary(0, {}), 0},
        {"solid", 0},
        {"solid\n" + facet(good_vertices), 1},
        {"solid\nfacet normal " + facet(good_vertices), 1}, // one line, one facet
        {"solid" + std::string(75, ' ') + std::string(4, '\0') + facet(good_vertices), 1}, // of no triangles
        {"solid a\n" + facet(good_vertices) + "endsolid a\nsolid b\nendsolid\nsolid c\n" +
             facet(good_vertices),
         2},
    };
    surface_list items;
    for (const auto& [bytes, triangles] : cases) {
        EXPECT_EQ(done(load(items, bytes)), "") << bytes;
        ASSERT_EQ(items.back().polygon.vertex_count(), 3 * triangles) << bytes;
    }
    EXPECT_EQ(items.back().polygon.vertices()[4].position, (render::pos3{1, 0, 0}));
    EXPECT_EQ(items.back().polygon.vertices()[5].position, (render::pos3{0, 1, 0}));
}

TEST_F(stl, files_that_fail) {
    const std::string text = "solid x\n", missing = directory_.file("none.stl"),
                      too_short = directory_.file("x.stl") + ": file is too short";
    const std::pair<std::string, std::string> cases[] = {
        {"", too_short + ".\n"},
        {std::string(83, 'h'), too_short + ".\n"},
        {binary(2, {right_angle, right_angle}).substr(0, 183), too_short + " for its triangles.\n"},
        {binary(0xFFFFFFFF, {right_angle}), too_short + " for its triangles.\n"},
        {text + facet("vertex 0 0 0\nvertex 1 0 0\n"), "num: 6\n"},
        {text + facet("vertex 0 0 0\nvertex 1 x 0\nvertex 2 2 2\n"), "num: 5\n"},
        {text + facet("vertex 0 0 0\nvertex 1 0\n5\nvertex 2 2 2\n"), "num: 5\n"},
        {text + facet("vertex 0 0 nam\nvertex 1 0 0\nvertex 2 2 2\n"), "num: 4\n"},
        {text + "facet normal 0 0 1\nvertex 0 0 0\n", "num: 3\n"},
        // Counted, but trimmed it is no facet.
        {text + "facet normal \nouter loop\n" + good_vertices + "endloop\n", "num: 7\n"},
    };
    surface_list items;
    for (const auto& [bytes, errors] : cases)
        EXPECT_EQ(refused(load(items, bytes)), errors) << bytes;
    items.clear();
    EXPECT_EQ(refused(pmt3d::load_stl(items, missing, {std::cerr})), missing + ": file open error.\n");
    EXPECT_TRUE(items.empty());
    // What was read before a failure stays.
    EXPECT_FALSE(load(items, text + facet("vertex 7 0 0\nvertex 1 0 0\nvertex 2 2 2\n") + "facet normal 1"));
    EXPECT_EQ(items.back().polygon.vertices()[0].position.x, 7.0f);
}

#ifndef _WIN32
// As another program may do, here as soon as the reader first tells its progress.
TEST_F(stl, files_that_are_cut_short_while_they_are_read) {
    std::string text = "solid x\n", blocks = "begin polygon_surface,9000,0\n";
    for (int i = 0; i < 3000; ++i) {
        text += facet(good_vertices);
        blocks += "position 1,2,3\nposition 4,5,6\n";
    }
    for (const auto& [name, bytes] : {std::pair("binary.stl", binary(3000, std::vector(3000, right_angle))),
                                      {"text.stl", text},
                                      {"blocks.pmt", blocks + "end\n"}}) {
        const std::string file = directory_.write(name, bytes);
        pmt3d::model_t model;
        const auto cut = [&](auto, auto) { std::filesystem::resize_file(file, 10'000); };
        EXPECT_EQ(refused(pmt3d::load(model, file, {std::cerr, {}, cut})),
                  file + ": file was cut short while it was read.\n");
        EXPECT_EQ(model.items.size(), 1u);
    }
}
#endif

TEST_F(stl, the_two_bytes_after_a_facet_only_shorten_a_line) {
    // Without a line "endloop" the next facet's line loses its beginning.
    const std::string one = "facet normal 0 0 1\nouter loop\n" + good_vertices;
    surface_list items;
    EXPECT_TRUE(load(items, "solid\n" + one + "xx" + one));
    EXPECT_EQ(items.back().polygon.vertex_count(), 6u);
    EXPECT_EQ(refused(load(items, "solid\n" + one + "x" + one)), "num: 11\n");
    pmt3d::line_reader lines("ab\nc\nd");
    EXPECT_TRUE(lines.next());
    lines.skip(2);
    EXPECT_TRUE(lines.number() == 2 && !lines.ahead()) << "no line end to stop at";
    lines.skip(9);
    EXPECT_EQ(lines.remaining(), 0u);
}

TEST_F(stl, binary_files_come_back_exactly) {
    surface_list items;
    std::mt19937 random(2);
    std::uniform_real_distribution<float> number(-1e6f, 1e6f);
    std::vector<render::pos3> expected;
    // Strips of even and odd lengths, with a restart; more than is written at once.
    for (int n = 0; n < 2; ++n) {
        pmt3d::polygon_t& polygon = items.emplace_back().polygon;
        polygon.allocate(2000, 2000);
        for (pmt3d::vertex_t& v : polygon.edit_vertices())
            v.position = {number(random), number(random), number(random)};
        for (pmt3d::element_t i = 0; i < 2000; ++i)
            polygon.edit_elements()[i] = i % 8 == 7 ? strip_end - i : i;
        pmt3d::for_each_triangle(polygon.getelements(), 2000, [&](auto, bool, auto a, auto b, auto c) {
            for (const pmt3d::element_t i : {a, b, c})
                expected.push_back(polygon.vertices()[i].position);
        });
    }
    const std::string name = directory_.file("saved.stl");
    ASSERT_TRUE(pmt3d::save_stl(items, name));
    const std::string bytes = read_file(name);
    EXPECT_EQ(bytes.size(), 84 + 50 * expected.size() / 3);
    EXPECT_EQ(bytes.substr(0, 80), (name + std::string(80, '\0')).substr(0, 80));
    surface_list back;
    ASSERT_TRUE(pmt3d::load_stl(back, name, {std::cerr}));
    EXPECT_TRUE(
        std::ranges::equal(back.front().polygon.vertices(), expected, {}, &pmt3d::vertex_t::position));
    // One item alone, and a name that begins like a text file's.
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(directory_.path());
    EXPECT_TRUE(pmt3d::save_stl(items.front(), "solid.stl"));
    std::filesystem::current_path(before);
    const std::string solid = read_file(directory_.file("solid.stl"));
    EXPECT_EQ(solid.substr(0, 11), std::string(" solid.stl\0", 11));
    EXPECT_EQ(solid.size(), 84 + (bytes.size() - 84) / 2);
}

TEST_F(stl, text_form) {
    surface_list items;
    ASSERT_TRUE(load(items, binary(1, {{{{0, 0, 0}, {0.1f, 0, 0}, {0, 1e-9f, 1234567.8f}}}})));
    const std::string name = directory_.file("text.stl");
    ASSERT_TRUE(pmt3d::save_stl_text(items, name));
    EXPECT_EQ(read_file(name),
              "solid " + name +
                  "\r\nfacet normal 0 -0.99999994 8.100001e-16\r\n  outer loop\r\n    vertex 0 0 0\r\n"
                  "    vertex 0.1 0 0\r\n    vertex 0 1e-09 1234567.8\r\n"
                  "  endloop\r\nendfacet\r\nendsolid \r\n");
    surface_list back;
    EXPECT_TRUE(pmt3d::load_stl(back, name, {std::cerr}));
    EXPECT_EQ(back.front().polygon.vertices()[2].position.z, 1234567.8f);
}

// As in binary files.
TEST_F(stl, text_may_hold_what_is_no_number) {
    constexpr float inf = std::numeric_limits<float>::infinity();
    surface_list items, back;
    ASSERT_TRUE(load(items, "\xEF\xBB\xBFsolid\n" + facet("vertex nan -Infinity inf\nvertex 1 +INF 0\r\n"
                                                          "vertex -NaN 2 2\n")));
    ASSERT_TRUE(pmt3d::save_stl_text(items, directory_.file("again.stl")));
    ASSERT_TRUE(pmt3d::load_stl(back, directory_.file("again.stl"), {std::cerr}));
    for (const surface_list& list : {std::cref(items), std::cref(back)}) {
        const auto v = list.front().polygon.vertices();
        EXPECT_TRUE(std::isnan(v[0].position.x) && std::isnan(v[2].position.x));
        EXPECT_EQ(std::tuple(v[0].position.y, v[0].position.z, v[1].position.y, v[2].position.z),
                  std::tuple(-inf, inf, inf, 2.0f));
    }
}

} // namespace
