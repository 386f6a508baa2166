// What decides how little is drawn: which pixels have changed, and which triangles can be left out.

#include "app/closed_surface.h"
#include "app/damage.h"

#include <gtest/gtest.h>

#include <random>

using namespace quenvarel;
using pmt3d::strip_end;

namespace {

struct shape {
    const char* name;
    std::vector<render::pos3> corners;
    std::vector<pmt3d::element_t> elements;
    bool closed;
};

pmt3d::polygon_t surface_of(const shape& s) {
    pmt3d::polygon_t surface;
    EXPECT_TRUE(surface.allocate(s.corners.size(), s.elements.size()));
    for (std::size_t i = 0; i < s.corners.size(); ++i)
        surface.edit_vertices()[i].position = s.corners[i];
    std::copy(s.elements.begin(), s.elements.end(), surface.edit_elements().begin());
    return surface;
}

} // namespace

TEST(ClosedSurface, EnclosesAVolumeAndFacesOutwards) {
    const std::vector<render::pos3> corners = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    // Each face with corners of its own.
    std::vector<render::pos3> apart;
    std::vector<pmt3d::element_t> apart_elements;
    for (const auto& face : {std::array{0, 2, 1}, {0, 1, 3}, {1, 2, 3}, {0, 3, 2}}) {
        for (const int i : face) {
            apart_elements.push_back(static_cast<pmt3d::element_t>(apart.size()));
            apart.push_back(corners[static_cast<std::size_t>(i)]);
        }
        apart_elements.push_back(strip_end);
    }
    apart[0].x = -0.0f;
    const shape shapes[] = {
        {"tetrahedron", corners, {0, 2, 1, 3, 0, 2}, true},
        {"faces apart", apart, apart_elements, true},
        {"inside out", corners, {0, 1, 2, 3, 0, 1}, false},
        {"a face missing", corners, {0, 2, 1, 3, 0}, false},
        {"a face twice", corners, {0, 2, 1, 3, 0, 2, strip_end, 0, 2, 1}, false},
        {"a face turned over", corners, {0, 2, 1, 3, strip_end, 1, 2, 3, strip_end, 0, 2, 3}, false},
        {"both sides of one triangle", corners, {0, 1, 2, strip_end, 0, 2, 1}, false},
        {"nothing", {}, {}, false},
    };
    for (const shape& s : shapes)
        EXPECT_EQ(is_closed(surface_of(s)), s.closed) << s.name;
}

TEST(Damage, CoversWhatWasAddedInPartsThatDoNotOverlap) {
    std::mt19937 random(2);
    const auto below = [&](unsigned n) { return static_cast<int>(random() % n); };
    for (int round = 0; round < 200; ++round) {
        damage changed;
        std::vector<render::pixel_rect> added;
        for (int i = below(30); i >= 0; --i) {
            const int left = below(790), bottom = below(180);
            added.push_back({left, bottom, left + below(12), bottom + below(20)});
            changed.add(added.back());
        }
        ASSERT_LE(changed.parts().size(), 24u);
        for (const render::pixel_rect& a : added) {
            if (a.empty()) continue;
            int holders = 0;
            for (const render::pixel_rect& part : changed.parts())
                holders += render::intersection(a, part) == a;
            EXPECT_EQ(holders, 1);
        }
        for (const render::pixel_rect& a : changed.parts())
            for (const render::pixel_rect& b : changed.parts())
                EXPECT_TRUE(&a == &b || render::intersection(a, b).empty());
    }
    damage few;
    few.add({0, 0, 10, 10});
    few.add({700, 0, 710, 10});
    few.add({5, 5, 5, 9}); // empty
    EXPECT_EQ(few.parts().size(), 2u);
    few.clear();
    EXPECT_TRUE(few.parts().empty());
}
