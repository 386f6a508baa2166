// What decides how little is drawn: which pixels have changed, and which triangles can be left out.

#include "app/closed_surface.h"
#include "app/damage.h"
#include "surfaces.h"

#include <random>

using namespace quenvarel;
using pmt3d::strip_end;
using corners = std::vector<render::pos3>;

TEST(closed_surface, encloses_a_volume_and_faces_outwards) {
    const corners four = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    // Each face with corners of its own.
    const corners apart = {{-0.0f, 0, 0}, four[2], four[1], four[0], four[1], four[3],
                           four[1],       four[2], four[3], four[0], four[3], four[2]};
    const struct {
        const char* name;
        corners at;
        std::vector<pmt3d::element_t> elements;
        bool closed;
    } shapes[] = {
        {"tetrahedron", four, {0, 2, 1, 3, 0, 2}, true},
        {"faces apart", apart, {0, 1, 2, strip_end, 3, 4, 5, strip_end, 6, 7, 8, strip_end, 9, 10, 11}, true},
        {"inside out", four, {0, 1, 2, 3, 0, 1}, false},
        {"a face missing", four, {0, 2, 1, 3, 0}, false},
        {"a face twice", four, {0, 2, 1, 3, 0, 2, strip_end, 0, 2, 1}, false},
        {"a face turned over", four, {0, 2, 1, 3, strip_end, 1, 2, 3, strip_end, 0, 2, 3}, false},
        {"both sides of one triangle", four, {0, 1, 2, strip_end, 0, 2, 1}, false},
        {"nothing", {}, {}, false},
    };
    for (const auto& s : shapes)
        EXPECT_EQ(is_closed(test_support::surface_of(s.at, s.elements)), s.closed) << s.name;
}

TEST(damage, covers_what_was_added_in_parts_that_do_not_overlap) {
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
        const auto& parts = changed.parts();
        ASSERT_LE(parts.size(), 24u);
        for (const render::pixel_rect& a : added) {
            const auto holds = [&](const auto& part) { return render::intersection(a, part) == a; };
            EXPECT_TRUE(a.empty() || std::count_if(parts.begin(), parts.end(), holds) == 1);
        }
        for (const render::pixel_rect& a : parts)
            for (const render::pixel_rect& b : parts)
                EXPECT_TRUE(&a == &b || render::intersection(a, b).empty());
    }
    damage few;
    for (const render::pixel_rect& rect : {render::pixel_rect{0, 0, 10, 10}, {700, 0, 710, 10}, {5, 5, 5, 9}})
        few.add(rect);
    EXPECT_EQ(few.parts().size(), 2u) << "the last one is empty";
    few.clear();
    EXPECT_TRUE(few.parts().empty());
}
