#include "pmt3d/surface/stripping.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <vector>

namespace {

using pmt3d::make_strips;
using pmt3d::triangle;

// Each begins with its smallest index, so that equal windings compare equal.
std::multiset<triangle> turned(const std::vector<triangle>& some) {
    std::multiset<triangle> all;
    for (triangle t : some) {
        std::rotate(t.begin(), std::min_element(t.begin(), t.end()), t.end());
        all.insert(t);
    }
    return all;
}

std::multiset<triangle> in_strips(const std::vector<pmt3d::element_t>& elements) {
    std::vector<triangle> all;
    pmt3d::for_each_triangle(elements, pmt3d::strip_end, [&](auto, bool, auto a, auto b, auto c) {
        all.push_back({a, b, c});
    });
    return turned(all);
}

TEST(stripping, keeps_every_triangle_and_its_winding) {
    std::mt19937 random(5);
    for (int round = 0; round < 40; ++round) {
        // A grid of quads cut along either diagonal, with holes, in shuffled order.
        constexpr std::uint32_t width = 9;
        std::vector<triangle> triangles;
        for (std::uint32_t y = 0; y + 1 < width; ++y)
            for (std::uint32_t x = 0; x + 1 < width; ++x) {
                const std::uint32_t a = y * width + x, b = a + 1, c = a + width, d = c + 1;
                if (random() % 7 == 0) continue;
                const bool falling = random() % 2;
                triangles.insert(triangles.end(), {{a, b, falling ? c : d}, {falling ? b : a, d, c}});
            }
        const std::size_t regular = triangles.size();
        // Anything that files hold: the same triangle again or its back, edges of many triangles, a vertex
        // named twice.
        if (round % 2)
            for (std::uint32_t i = 0; i < 20; ++i)
                triangles.insert(triangles.end(), {triangles[i],
                                                   {triangles[i][1], triangles[i][0], triangles[i][2]},
                                                   {5, 4, 200 + i},
                                                   {i, i + 3, i}});
        std::shuffle(triangles.begin(), triangles.end(), random);
        const auto elements = make_strips(triangles);
        ASSERT_EQ(in_strips(elements), turned(triangles));
        if (triangles.size() == regular) {
            EXPECT_LT(elements.size(), 2.6 * double(regular));
        }
    }
    EXPECT_TRUE(make_strips({}).empty());
}

TEST(stripping, a_sheet_becomes_long_strips_and_many_triangles_take_no_longer_each) {
    // A sheet row by row; and a fan, all of whose edges meet in one vertex.
    constexpr std::uint32_t width = 1000;
    std::vector<triangle> sheet, fan;
    for (std::uint32_t y = 0; y + 1 < width; ++y)
        for (std::uint32_t x = 0; x + 1 < width; ++x) {
            const std::uint32_t a = y * width + x, c = a + width;
            sheet.insert(sheet.end(), {{a, a + 1, c}, {c, a + 1, c + 1}});
        }
    for (std::uint32_t i = 1; i < 1'000'000; ++i)
        fan.push_back({0, i, i + 1});
    EXPECT_LT(make_strips(sheet).size(), 1.1 * double(sheet.size()));
    EXPECT_EQ(in_strips(make_strips(fan)).size(), fan.size());
}

} // namespace
