// The examples in the description of the model format are what they say.
#include "pmt3d/format/dispatch.h"
#include "pmt3d/mirror/open_pictures.h"

#include "support/capture.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iostream>
#include <vector>

namespace {

TEST(documentation, examples_load_without_a_word) {
    const test_support::temporary_directory directory;
    const std::string root = QUENVAREL_TEST_DATA "/../../",
                      picture = test_support::read_file(root + "fuzz/seeds/png/interlaced.png"),
                      text = test_support::read_file(root + "docs/model-format.md"), begin = "```pmt\n";
    for (const char* name : {"oak planks.png", "oak bumps.png", "oak shine.png", "sky_posx.png",
                             "sky_negx.png", "sky_posy.png", "sky_negy.png", "sky_posz.png", "sky_negz.png"})
        directory.write(name, picture);
    for (const char* name : {"chrome", "evening", "ring"}) {
        const test_support::capture err(std::cerr);
        const std::string file = root + "docs/examples/" + name + ".pmt";
        pmt3d::model_t model;
        pmt3d::open_pictures pictures;
        EXPECT_TRUE(pmt3d::load(model, file, {.error = std::cerr, .pictures = &pictures})) << file;
        EXPECT_EQ(err.text(), "");
        ASSERT_EQ(model.items.size(), 1u) << file;
        EXPECT_TRUE(pictures.surfaces.front().has(name == std::string("ring") ? render::texture_unit::color
                                                                              : render::texture_unit::bump));
    }
    std::vector<pmt3d::model_t> models;
    pmt3d::open_pictures pictures;
    for (std::size_t at = text.find(begin); at != text.npos; at = text.find(begin, at + 1)) {
        const test_support::capture err(std::cerr);
        const std::string example =
            text.substr(at + begin.size(), text.find("```\n", at + 1) - at - begin.size());
        EXPECT_TRUE(pmt3d::load(models.emplace_back(), directory.write("x.pmt", example),
                                {.error = std::cerr, .pictures = &pictures}))
            << example;
        EXPECT_EQ(err.text(), "");
    }
    ASSERT_EQ(models.size(), 5u);
    const auto polygon = [&](std::size_t number) -> const pmt3d::polygon_t& {
        return models[number].items.front().polygon;
    };
    EXPECT_EQ(polygon(0).vertices()[3].color.g, 255 * 0.003921569f);
    const render::pos3 left = polygon(1).vertices()[1].position; // by a third of a turn
    EXPECT_NEAR(left.x, -std::sqrt(3.0f), 1e-6f);
    EXPECT_NEAR(left.y, -1.0f, 1e-6f);
    EXPECT_NEAR(polygon(1).normals()[0].normal.z, 1.0f, 1e-6f);
    EXPECT_FALSE(models[2].items.front().texture.maglinear);
    EXPECT_EQ(polygon(3).vertices()[9].position, (render::pos3{2, 1, 1})); // half way up to the point at 2
    EXPECT_EQ(models[4].environment.refractfactor, 1 / 1.33f);
    EXPECT_EQ(pictures.environment.refract_factor(), 1 / 1.33f);
}

} // namespace
