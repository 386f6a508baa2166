#include "libgr/image/autoformat.h"
#include "libgr/image/image.h"
#include "models/key_shape.h"
#include "models/keyboard_files.h"
#include "models/layout/key_layout.h"
#include "models/materials.h"
#include "pmt3d/format/dispatch.h"
#include "render/math/operations.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <iostream>

using namespace models;

// A step from a pixel to its right or upper neighbour is on average no larger where the repetitions join.
TEST(Materials, TileWithoutSeams) {
    for (const material& m : {make_ivory(), make_satin_black()})
        for (const picture* p : {&m.color, &m.bump, &m.specular}) {
            ASSERT_EQ(p->pixels.size(), std::size_t{p->width} * p->height * p->channels);
            const auto sample = [p](unsigned x, unsigned y, unsigned channel) {
                return p
                    ->pixels[(std::size_t{y % p->height} * p->width + x % p->width) * p->channels + channel];
            };
            double steps[2][2] = {}; // along s and t, inside and at the seam
            for (unsigned y = 0; y < p->height; ++y)
                for (unsigned x = 0; x < p->width; ++x)
                    for (unsigned c = 0; c < p->channels; ++c) {
                        steps[0][x + 1 == p->width] += std::abs(sample(x, y, c) - sample(x + 1, y, c));
                        steps[1][y + 1 == p->height] += std::abs(sample(x, y, c) - sample(x, y + 1, c));
                    }
            for (const auto& [length, along] : {std::pair(p->width, 0), {p->height, 1}}) {
                EXPECT_GT(steps[along][0], 0); // not one flat colour
                EXPECT_LT(steps[along][1], 1.5 * steps[along][0] / (length - 1));
            }
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
    // The models are the shapes, in their materials.
    for (int note = 0; note < key_count; ++note) {
        const key_mesh mesh = make_key(note);
        pmt3d::model_t model;
        ASSERT_TRUE(pmt3d::load(model, directory.file("keys/" + std::to_string(note) + ".pmt"), {std::cerr}));
        const libgr::texture_options& look = model.items.front().texture;
        const bool is_black = place_of(note).black;
        EXPECT_EQ(look.texture, is_black ? "black-color.png" : "ivory-color.jpg");
        EXPECT_EQ(look.bumpmap, is_black ? "black-bump.bmp" : "ivory-bump.png");
        EXPECT_EQ(look.specular, is_black ? "black-specular.tga" : "ivory-specular.tga");
        EXPECT_FALSE(look.mipmap || look.nearlinear);
        const pmt3d::polygon_t& key = model.items.front().polygon;
        ASSERT_EQ(key.vertex_count(), mesh.vertices.size());
        for (std::size_t i = 0; i < mesh.vertices.size(); ++i) {
            EXPECT_EQ(key.vertices()[i].position, mesh.vertices[i].position);
            EXPECT_NEAR(key.vertices()[i].color.r, mesh.vertices[i].color.r, 0.003f);
            EXPECT_EQ(key.vertices()[i].texcoord, mesh.vertices[i].texcoord);
            EXPECT_EQ(key.normals()[i].tangent, mesh.vertices[i].tangent);
            EXPECT_EQ(key.normals()[i].normal, mesh.vertices[i].normal);
        }
    }
}

// Or it would be lit from behind, and what is culled would be its front.
TEST(Case, IsLitOnItsOutside) {
    const test_support::temporary_directory directory;
    for (const instrument which : {instrument::piano, instrument::harpsichord}) {
        ASSERT_TRUE(write_keyboard(directory.file("keys"), std::nullopt, which));
        pmt3d::model_t model;
        ASSERT_TRUE(pmt3d::load(model, directory.file("keys/case.pmt"), {std::cerr}));
        for (const pmt3d::model_item_t& item : model.items) {
            const auto vertices = item.polygon.vertices();
            double outside = 0, all = 0, volume = 0;
            pmt3d::for_each_triangle(
                item.polygon.getelements(), vertices.size(), [&](auto, bool, auto a, auto b, auto c) {
                    const render::dir3 face = cross(vertices[b].position - vertices[a].position,
                                                    vertices[c].position - vertices[a].position);
                    volume += dot(face, vertices[a].position - render::pos3{});
                    all += length(face);
                    outside += dot(face, item.polygon.normals()[a].normal);
                });
            EXPECT_GT(outside, 0.9 * all);
            EXPECT_TRUE(volume > 0 || item.kind == pmt3d::model_item_t::kind_t::polygon);
        }
    }
}
