#include "models/materials.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

using namespace models;

namespace {

int at(const picture& p, unsigned x, unsigned y, unsigned channel) {
    return p.pixels[(std::size_t{y % p.height} * p.width + x % p.width) * p.channels + channel];
}

// The largest step from a pixel to its right and upper neighbours, in the row or column that joins the
// repetitions, or anywhere else.
std::pair<int, int> largest_steps(const picture& p) {
    int at_seam = 0, inside = 0;
    for (unsigned y = 0; y < p.height; ++y)
        for (unsigned x = 0; x < p.width; ++x)
            for (unsigned c = 0; c < p.channels; ++c) {
                const int right = std::abs(at(p, x, y, c) - at(p, x + 1, y, c));
                const int up = std::abs(at(p, x, y, c) - at(p, x, y + 1, c));
                int& across = x + 1 == p.width ? at_seam : inside;
                across = std::max(across, right);
                int& along = y + 1 == p.height ? at_seam : inside;
                along = std::max(along, up);
            }
    return {at_seam, inside};
}

} // namespace

TEST(Materials, TileWithoutSeams) {
    for (const material& m : {make_ivory(), make_satin_black()})
        for (const picture* p : {&m.color, &m.bump, &m.specular}) {
            ASSERT_EQ(p->pixels.size(), std::size_t{p->width} * p->height * p->channels);
            const auto [at_seam, inside] = largest_steps(*p);
            EXPECT_LE(at_seam, inside + 1);
            EXPECT_GT(inside, 0); // not one flat colour
        }
}

TEST(Materials, TheIvoryGrainIsANormalMapTheGlCanHold) {
    const picture bump = make_ivory().bump;
    ASSERT_EQ(bump.channels, 3u);
    for (std::size_t i = 0; i < bump.pixels.size(); i += 3) {
        const double x = bump.pixels[i], y = bump.pixels[i + 1], z = bump.pixels[i + 2];
        ASSERT_NEAR(std::sqrt(x * x + y * y + z * z), 127, 1.5);
        ASSERT_GT(z, 120);
    }
}
