#include "libgr/image/autoformat.h"
#include "libgr/image/image.h"
#include "models/key_layout.h"
#include "models/keyboard_files.h"
#include "models/materials.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

using namespace models;

namespace {

int at(const picture& p, unsigned x, unsigned y, unsigned channel) {
    return p.pixels[(std::size_t{y % p.height} * p.width + x % p.width) * p.channels + channel];
}

} // namespace

// The largest step from a pixel to its right and upper neighbours is no larger where the repetitions join.
TEST(Materials, TileWithoutSeams) {
    for (const material& m : {make_ivory(), make_satin_black()})
        for (const picture* p : {&m.color, &m.bump, &m.specular}) {
            ASSERT_EQ(p->pixels.size(), std::size_t{p->width} * p->height * p->channels);
            int at_seam = 0, inside = 0;
            for (unsigned y = 0; y < p->height; ++y)
                for (unsigned x = 0; x < p->width; ++x)
                    for (unsigned c = 0; c < p->channels; ++c) {
                        int& across = x + 1 == p->width ? at_seam : inside;
                        across = std::max(across, std::abs(at(*p, x, y, c) - at(*p, x + 1, y, c)));
                        int& along = y + 1 == p->height ? at_seam : inside;
                        along = std::max(along, std::abs(at(*p, x, y, c) - at(*p, x, y + 1, c)));
                    }
            EXPECT_LE(at_seam, inside + 1);
            EXPECT_GT(inside, 0); // not one flat colour
        }
}

TEST(Materials, AreFilesWithWhichTheKeysAreDressed) {
    const test_support::temporary_directory directory;
    ASSERT_TRUE(write_keyboard(directory.file("keys"), std::nullopt));
    const auto load = [&](const char* name) {
        libgr::image2d picture;
        EXPECT_TRUE(libgr::autoloadformat(picture, directory.file("keys/") + name)) << name;
        return picture;
    };
    // A normal map that the GL can hold, and highlights: warm on ivory, cold on black.
    const libgr::image2d bump = load("ivory-bump.png");
    const libgr::image2d ivory = load("ivory-specular.tga"), black = load("black-specular.tga");
    for (unsigned y = 0; y < bump.height; ++y)
        for (unsigned x = 0; x < bump.width; ++x) {
            const unsigned char* const normal = bump.row(y) + 3 * x;
            ASSERT_NEAR(std::hypot(normal[0], normal[1], normal[2]), 127, 1.5);
            ASSERT_GT(normal[2], 120);
        }
    // Blue comes first in these files.
    ASSERT_EQ(ivory.descriptor.format, libgr::pixel_format::bgr);
    EXPECT_LT(ivory.row(0)[0], ivory.row(0)[2]);
    EXPECT_GT(black.row(0)[0], black.row(0)[2]);
    for (int note = 0; note < key_count; ++note) {
        const std::string file =
            test_support::read_file(directory.path() / "keys" / (std::to_string(note) + ".pmt"));
        for (const char* line :
             place_of(note).black
                 ? std::array{"texture black-color.png", "bumpmap black-bump.bmp",
                              "specular black-specular.tga", "mipmap false", "nearlinear false"}
                 : std::array{"texture ivory-color.jpg", "bumpmap ivory-bump.png",
                              "specular ivory-specular.tga", "mipmap false", "nearlinear false"})
            EXPECT_NE(file.find(std::string("\n") + line + "\r\n"), std::string::npos)
                << note << ": " << line;
    }
}
