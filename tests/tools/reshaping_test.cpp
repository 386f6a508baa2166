#include "tools/pmt3d/reshaping.h"

#include "support/capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <string>
#include <tuple>
#include <vector>

namespace {

using names = std::vector<std::string>;

tool::named_model model_of(const names& surfaces) {
    tool::named_model all;
    for (const std::string& name : surfaces) {
        all.names.push_back(name);
        all.model.items.emplace_back().polygon.set_name(std::to_string(all.names.size()));
    }
    return all;
}

// The numbers of the surfaces that are left.
std::string left(const tool::named_model& all) {
    std::string text;
    for (const pmt3d::model_item_t& item : all.model.items)
        text += item.polygon.name();
    return text;
}

TEST(reshaping, surfaces_are_chosen_by_name_or_number) {
    const std::tuple<std::vector<const char*>, const char*> rows[] = {
        {{"leg"}, "14"}, {{"3"}, "5"}, {{"1", "seat"}, "12"}, {{"4", "leg"}, "14"}, {{"", "5"}, "35"},
    };
    for (const auto& [wanted, expected] : rows) {
        tool::named_model all = model_of({"leg", "seat", "", "leg", "3"});
        EXPECT_TRUE(tool::keep_only(all, wanted));
        EXPECT_EQ(left(all), expected);
        EXPECT_EQ(all.names.size(), all.model.items.size());
    }
    const std::vector<const char*> none = {"leg", "Leg"};
    tool::named_model all = model_of({"leg", "", "seat"});
    const test_support::capture error(std::cerr);
    EXPECT_FALSE(tool::keep_only(all, none));
    EXPECT_EQ(error.text(), "pmt3d: there is no surface Leg; there are 1 to 3 (leg, seat).\n");
}

TEST(reshaping, surfaces_become_one) {
    // What ends a strip of one is a vertex of both.
    const std::vector<std::vector<pmt3d::element_t>> strips = {
        {0, 1, 2, 5, 1, 2, 3}, {0, 1, 2, pmt3d::strip_end}, {2, 1, 0}};
    tool::named_model all = model_of({"a", "b", "c"});
    auto item = all.model.items.begin();
    for (const auto& elements : strips) {
        pmt3d::polygon_t& polygon = (item++)->polygon;
        ASSERT_TRUE(polygon.allocate(4, elements.size()));
        std::copy(elements.begin(), elements.end(), polygon.edit_elements().begin());
        for (int v = 0; v < 4; ++v) {
            polygon.edit_vertices()[v].position.x = float(v) + float(elements[0]);
            polygon.edit_normals()[v].normal.x = float(elements.size());
        }
    }
    ASSERT_TRUE(tool::merge_into_one(all));
    ASSERT_EQ(all.names, names{"a"});
    const pmt3d::polygon_t& one = all.model.items.front().polygon;
    std::vector<std::vector<pmt3d::element_t>> triangles;
    pmt3d::for_each_triangle(one.getelements(), one.vertex_count(), [&](auto, bool, auto a, auto b, auto c) {
        triangles.push_back({a, b, c});
    });
    EXPECT_EQ(triangles,
              (std::vector<std::vector<pmt3d::element_t>>{{0, 1, 2}, {1, 2, 3}, {4, 5, 6}, {10, 9, 8}}));
    ASSERT_EQ(one.vertex_count(), 12u);
    EXPECT_EQ(one.vertices()[11].position.x, 5);
    EXPECT_EQ(one.normals()[11].normal.x, 3);
}

TEST(reshaping, files_of_a_split_model_have_names_that_every_system_takes) {
    const std::string e = "\xC3\xA9"; // two bytes
    EXPECT_EQ(tool::split_names(model_of({"leg", "", "a/b\\c:d", "Leg", "2", "leg", "\n*"}), "d.e/x.pmt"),
              (names{"d.e/x-leg.pmt", "d.e/x-2.pmt", "d.e/x-a_b_c_d.pmt", "d.e/x-Leg-4.pmt", "d.e/x-2-5.pmt",
                     "d.e/x-leg-6.pmt", "d.e/x-__.pmt"}));
    std::string longest = "a";
    for (int i = 0; i < 60; ++i)
        longest += e;
    EXPECT_EQ(tool::split_names(model_of({longest}), "x"), names{"x-" + longest.substr(0, 99)});
}

} // namespace
