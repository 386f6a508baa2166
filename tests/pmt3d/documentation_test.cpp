// The examples in the description of the model format are what they say.
#include "libgr/image/autoformat.h"
#include "pmt3d/format/dispatch.h"
#include "pmt3d/mirror/open_pictures.h"

#include "support/capture.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iostream>
#include <vector>

namespace {

using test_support::temporary_directory;

std::vector<std::string> examples() {
    const std::string text = test_support::read_file(QUENVAREL_TEST_DATA "/../../docs/model-format.md");
    const std::string begin = "```pmt\n", end = "```\n";
    std::vector<std::string> found;
    for (std::size_t at = text.find(begin); at != text.npos; at = text.find(begin, at)) {
        at += begin.size();
        found.push_back(text.substr(at, text.find(end, at) - at));
    }
    return found;
}

void make_picture(const temporary_directory& directory, const std::string& name) {
    libgr::image2d image;
    image.width = image.height = 2;
    image.descriptor.format = libgr::pixel_format::rgb;
    ASSERT_TRUE(image.allocate());
    ASSERT_TRUE(libgr::autosaveformat(image, directory.file(name)));
}

TEST(documentation, examples_load_without_a_word) {
    const temporary_directory directory;
    for (const char* name : {"oak planks.png", "oak bumps.png", "oak shine.png", "sky_posx.png",
                             "sky_negx.png", "sky_posy.png", "sky_negy.png", "sky_posz.png", "sky_negz.png"})
        make_picture(directory, name);
    for (const char* name : {"chrome", "evening", "ring"}) {
        const test_support::capture err(std::cerr);
        const std::string file = std::string(QUENVAREL_TEST_DATA "/../../docs/examples/") + name + ".pmt";
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
    for (const std::string& text : examples()) {
        const test_support::capture err(std::cerr);
        EXPECT_TRUE(pmt3d::load(models.emplace_back(), directory.write("x.pmt", text),
                                {.error = std::cerr, .pictures = &pictures}))
            << text;
        EXPECT_EQ(err.text(), "");
    }
    ASSERT_EQ(models.size(), 5u);
    const auto polygon = [&](std::size_t number) -> const pmt3d::polygon_t& {
        return models[number].items.front().polygon;
    };
    EXPECT_EQ(polygon(0).vertices()[3].color.g, 255 * 0.003921569f);
    EXPECT_NEAR(polygon(1).vertices()[1].position.x, -std::sqrt(3.0f),
                1e-6f); // a third of a turn to the left
    EXPECT_NEAR(polygon(1).vertices()[1].position.y, -1.0f, 1e-6f);
    EXPECT_NEAR(polygon(1).normals()[0].normal.z, 1.0f, 1e-6f);
    EXPECT_FALSE(models[2].items.front().texture.maglinear);
    EXPECT_EQ(polygon(3).vertices()[9].position, (render::pos3{2, 1, 1})); // half way up to the point at 2
    EXPECT_EQ(models[4].environment.refractfactor, 1 / 1.33f);
    EXPECT_EQ(pictures.environment.refract_factor(), 1 / 1.33f);
}

} // namespace
