// Surface textures and the environment from real picture files: what is loaded, derived, shared, reported and
// let go.

#include "libgr/texture/surface_texture.h"

#include "libgr/image/autoformat.h"
#include "libgr/image/processing.h"
#include "libgr/texture/environment.h"
#include "libgr/texture/texture_table.h"
#include "support/temporary_directory.h"
#include "textures.h"

#include <cmath>
#include <cstring>
#include <filesystem>

namespace {

using namespace libgr;
using namespace test_support;
using render::texture_unit;

class SurfaceTexture : public gl_test {
protected:
    void SetUp() override {
        gl_test::SetUp();
        model_ = files_.file("model.pmt");
    }
    image2d save(const std::string& name, const image2d& image) {
        EXPECT_TRUE(autosaveformat(image, files_.file(name)));
        return image;
    }
    image2d save(const std::string& name, const pixel_descriptor& descriptor, std::uint32_t width = 4,
                 std::uint32_t height = 4) {
        return save(name, patterned(width, height, descriptor));
    }
    static std::vector<unsigned char> bytes(const image2d& image) {
        return {image.pixels.data(), image.pixels.data() + image.pixels.size()};
    }

    temporary_directory files_;
    std::string model_;
};

TEST_F(SurfaceTexture, PathsAndNames) {
    const struct {
        const char *model, *name, *path;
    } cases[] = {{"/a/b/m.pmt", "c.png", "/a/b/c.png"},  {"/a/b/m.pmt", "/c.png", "/c.png"},
                 {"m.pmt", "c d.png", "c d.png"},        {"/a/m.pmt", "../c.png", "/a/../c.png"},
                 {"/a/m.pmt", "C:\\c.png", "C:\\c.png"}, {"/a/m.pmt", "C:/c.png", "C:/c.png"},
                 {"/a/m.pmt", "\\\\h\\c", "\\\\h\\c"},   {"/a/m.pmt", "c:d", "/a/c:d"}};
    for (const auto& one : cases)
        EXPECT_EQ(picture_path(one.model, one.name), one.path);
    EXPECT_EQ(take_err(), "");
    EXPECT_EQ(picture_path("", "c.png"), "c.png");
    EXPECT_EQ(take_err(), "c.png: base filename.\n");

    EXPECT_EQ(face_names("/a.b/sky.png"),
              (std::array<std::string, 6>{"/a.b/sky_posx.png", "/a.b/sky_negx.png", "/a.b/sky_posy.png",
                                          "/a.b/sky_negy.png", "/a.b/sky_posz.png", "/a.b/sky_negz.png"}));
    EXPECT_EQ(face_names("/a.b/sky")[5], "/a.b/sky_negz");
    EXPECT_EQ(face_names("sky.v2.jpg")[0], "sky.v2_posx.jpg");

    save("x.png", rgb8);
    std::filesystem::create_directory(files_.path() / "sub");
    EXPECT_EQ(table_name(files_.file("x.png")), table_name(files_.file("sub/.././x.png")));
    EXPECT_NE(table_name(files_.file("x.png")), table_name(files_.file("sub/x.png")));
}

TEST_F(SurfaceTexture, DefaultsAreSinglePixels) {
    texture_t plain;
    EXPECT_FALSE(plain.has(texture_unit::color));
    plain.open(model_);
    const unsigned char white[] = {255, 255, 255, 255}, flat[] = {0, 0, 127};
    const struct {
        texture_unit unit;
        pixel_descriptor descriptor;
    } expected[] = {
        {texture_unit::color, rgba8},
        {texture_unit::bump, {pixel_format::rgb, sample_type::signed_integer, bits_class::bits_8}},
        {texture_unit::specular, rgba8}};
    for (const auto& one : expected) {
        ASSERT_TRUE(plain.has(one.unit));
        const image2d& image = plain.record(one.unit)->image();
        EXPECT_EQ(image.width, 1u);
        EXPECT_EQ(image.height, 1u);
        EXPECT_EQ(image.descriptor, one.descriptor);
        EXPECT_EQ(plain.record(one.unit)->parameters.min_filter, GL_LINEAR);
        EXPECT_FALSE(plain.record(one.unit)->has_mipmaps);
    }
    EXPECT_EQ(std::memcmp(plain.record(texture_unit::color)->image().pixel(0, 0), white, 4), 0);
    EXPECT_EQ(std::memcmp(plain.record(texture_unit::bump)->image().pixel(0, 0), flat, 3), 0);
    EXPECT_EQ(plain.bump_offset(), (std::array{0.0f, 0.0f}));
    plain.bind(texture_unit::bump);
    float normal[3] = {};
    glGetTexImage(GL_TEXTURE_2D, 0, GL_RGB, GL_FLOAT, normal);
    EXPECT_EQ(normal[0], 0.0f);
    EXPECT_EQ(normal[2], 1.0f);
    plain.unbind(texture_unit::bump);
    EXPECT_FALSE(plain.mercator_sphere());
    plain.mercatorsphere = true;
    EXPECT_TRUE(plain.mercator_sphere());
}

TEST_F(SurfaceTexture, OneFileIsOneTextureInEverySpelling) {
    const image2d saved = save("wood.png", rgba8);
    std::filesystem::create_directory(files_.path() / "sub");
    const std::size_t before = texture_table::shared()->size();
    texture_t first, second, third;
    first.texture = "wood.png";
    second.texture = "./sub/../wood.png";
    third.specular = files_.file("wood.png");
    for (texture_t* one : {&first, &second, &third})
        one->open(model_);
    EXPECT_EQ(first.record(texture_unit::color), second.record(texture_unit::color));
    EXPECT_EQ(first.record(texture_unit::color), third.record(texture_unit::specular));
    EXPECT_EQ(texture_table::shared()->size() - before, 4u) << "the file and three single pixels";
    EXPECT_EQ(bytes(first.record(texture_unit::color)->image()), bytes(saved));

    const texture_t copy = first;
    EXPECT_EQ(copy.record(texture_unit::color), first.record(texture_unit::color));
    EXPECT_EQ(copy.texture, "wood.png");
    first.bind(texture_unit::color);
    EXPECT_EQ(level_pixels(GL_TEXTURE_2D, 0), bytes(saved));
    first.unbind(texture_unit::color);
}

TEST_F(SurfaceTexture, OptionsChooseTheFilters) {
    save("a.png", rgba8);
    const struct {
        bool mipmap, nearlinear, maglinear;
        GLint min_filter, mag_filter;
    } cases[] = {{false, false, false, GL_NEAREST, GL_NEAREST},
                 {false, true, true, GL_LINEAR, GL_LINEAR},
                 {true, false, true, GL_NEAREST_MIPMAP_NEAREST, GL_LINEAR},
                 {true, true, false, GL_LINEAR_MIPMAP_LINEAR, GL_NEAREST}};
    texture_t dressed;
    dressed.texture = "a.png";
    for (const auto& one : cases) {
        dressed.mipmap = one.mipmap;
        dressed.nearlinear = one.nearlinear;
        dressed.maglinear = one.maglinear;
        dressed.aniso = one.mipmap ? 4.0f : 1.0f;
        dressed.open(model_);
        dressed.bind(texture_unit::color);
        const auto get = [](GLenum what) {
            GLint value = -1;
            glGetTexParameteriv(GL_TEXTURE_2D, what, &value);
            return value;
        };
        EXPECT_EQ(get(GL_TEXTURE_MIN_FILTER), one.min_filter);
        EXPECT_EQ(get(GL_TEXTURE_MAG_FILTER), one.mag_filter);
        EXPECT_EQ(get(GL_TEXTURE_WRAP_S), GL_REPEAT);
        EXPECT_EQ(get(GL_TEXTURE_WRAP_T), GL_REPEAT);
        EXPECT_EQ(get(GL_TEXTURE_MAX_ANISOTROPY_EXT), one.mipmap ? 4 : 1);
        EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 1, GL_TEXTURE_WIDTH), one.mipmap ? 2 : 0);
        dressed.unbind(texture_unit::color);
    }
}

TEST_F(SurfaceTexture, BumpPicturesBecomeNormals) {
    const image2d heights = save("heights.png", grey8, 8, 4);
    save("color.png", rgb8, 8, 4);
    save("normals.tga", {pixel_format::bgra, sample_type::unsigned_integer, bits_class::bits_8}, 8, 4);
    image2d grey, from_heights, from_color, color;
    ASSERT_TRUE(autoloadformat(color, files_.file("color.png")));
    ASSERT_TRUE(normalmap(from_heights, heights));
    ASSERT_TRUE(rgb2grey(grey, color));
    ASSERT_TRUE(normalmap(from_color, grey));

    const auto open = [&](const char* file, bool mono, bool offset) {
        texture_t bumped;
        bumped.bumpmap = file;
        bumped.bump2mono = mono;
        bumped.bumpofs = offset;
        bumped.open(model_);
        return bumped;
    };
    const auto image_of = [](const texture_t& bumped) { return bumped.record(texture_unit::bump)->image(); };
    const texture_t keep = open("heights.png", false, true); // keeps the table
    EXPECT_EQ(bytes(image_of(keep)), bytes(from_heights));
    EXPECT_EQ(texture_t(keep).bump_offset(), (std::array{-0.5f / 8, -0.5f / 4}));
    image2d translucent =
        patterned(8, 4, {pixel_format::luminance_alpha, sample_type::unsigned_integer, bits_class::bits_8});
    for (std::uint32_t i = 0; i < 8 * 4; ++i)
        translucent.pixels[2 * i] = heights.pixels[i];
    save("translucent.png", translucent);
    EXPECT_EQ(bytes(image_of(open("translucent.png", false, true))), bytes(from_heights));
    const std::size_t before = texture_table::shared()->size();

    texture_t signed_color = open("color.png", false, false);
    EXPECT_EQ(signed_color.bump_offset(), (std::array{0.0f, 0.0f}));
    EXPECT_EQ(image_of(signed_color).descriptor.type, std::uint32_t(sample_type::signed_integer));
    EXPECT_EQ(image_of(signed_color).pixels.data(), image_of(open("color.png", false, false)).pixels.data());
    EXPECT_EQ(bytes(image_of(signed_color)), bytes(color)) << "only the meaning of the bytes changes";
    EXPECT_EQ(texture_table::shared()->size() - before, 2u) << "color.png, color.png.sint";

    EXPECT_EQ(bytes(image_of(open("color.png", true, true))), bytes(from_color));
    EXPECT_EQ(texture_table::shared()->size() - before, 4u) << "and color.png.mono, color.png.mono.norm";
    open("color.png", true, true);
    EXPECT_EQ(texture_table::shared()->size() - before, 4u) << "derived once";

    // What cannot be turned to grey goes on as it is.
    const texture_t four = open("normals.tga", true, true);
    EXPECT_NE(take_err().find(": image format is not RGB.\n"), std::string::npos);
    EXPECT_EQ(image_of(four).descriptor,
              (pixel_descriptor{pixel_format::bgra, sample_type::signed_integer, bits_class::bits_8}));
}

TEST_F(SurfaceTexture, NarrowGreySamplesAreWidened) {
    image2d narrow =
        patterned(4, 2, {pixel_format::luminance, sample_type::unsigned_integer, bits_class::bits_1});
    narrow.row(0)[0] = 0xA0;
    save("stencil.png", narrow);
    texture_t dressed;
    dressed.texture = dressed.bumpmap = "stencil.png";
    dressed.open(model_);
    const image2d& image = dressed.record(texture_unit::color)->image();
    EXPECT_EQ(image.descriptor, grey8);
    EXPECT_EQ(image.row(0)[0], 255);
    EXPECT_EQ(image.row(0)[1], 0);
    EXPECT_EQ(dressed.record(texture_unit::bump)->image().descriptor.format,
              std::uint32_t(pixel_format::rgb));
}

TEST_F(SurfaceTexture, MissingPicturesLeaveTheUnitAsItWas) {
    files_.write("text.png", "this is no picture");
    const std::string missing = files_.file("missing.png"), text = files_.file("text.png");
    texture_t dressed;
    dressed.texture = "missing.png";
    dressed.bumpmap = "text.png";
    dressed.specular = "other.gif";
    dressed.open(model_);
    const std::string reported = take_err();
    EXPECT_NE(reported.find(missing + ": color autoloadformat failed.\n"), std::string::npos) << reported;
    EXPECT_NE(reported.find(text + ": bump autoloadformat failed.\n"), std::string::npos) << reported;
    EXPECT_NE(reported.find("autoloadformat load fail, fname=" + files_.file("other.gif") + "\n" +
                            files_.file("other.gif") + ": autoloadformat failed.\n"),
              std::string::npos)
        << reported;
    for (const texture_unit unit : {texture_unit::color, texture_unit::bump, texture_unit::specular}) {
        EXPECT_FALSE(dressed.has(unit));
    }
    // Not tried again while the table lives.
    texture_t another = dressed;
    another.open(model_);
    EXPECT_EQ(take_err(), "");
    // What the unit held stays.
    save("wood.png", rgba8);
    another.texture = "wood.png";
    another.open(model_);
    another.texture = "missing.png";
    another.open(model_);
    EXPECT_TRUE(another.has(texture_unit::color));
}

TEST_F(SurfaceTexture, StepsAreLabelled) {
    texture_t plain;
    plain.open(model_); // what is made on first use announces its own steps
    glEnable(0xFFFF);
    plain.open(model_);
    EXPECT_EQ(step_labels(), "texture_t::open(5)\n");
    save("shine.png", rgba8);
    plain.specular = "shine.png";
    plain.aniso = -1; // refused
    plain.open(model_);
    EXPECT_EQ(step_labels(), "texture_t::open(7)\n");
}

TEST_F(SurfaceTexture, PicturesWaitForAContext) {
    save("wood.png", rgba8);
    save("heights.png", grey8);
    texture_t dressed;
    dressed.texture = "wood.png";
    dressed.bumpmap = "heights.png";
    environment_t around;
    {
        const without_context none;
        dressed.open(model_);
        EXPECT_TRUE(around.initex(model_));
        EXPECT_TRUE(dressed.has(texture_unit::bump));
        EXPECT_EQ(dressed.record(texture_unit::bump)->image().descriptor.format,
                  std::uint32_t(pixel_format::rgb));
        EXPECT_FALSE(dressed.record(texture_unit::color)->object.attached());
    }
    dressed.bind(texture_unit::color);
    EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH), 4);
    EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 1, GL_TEXTURE_WIDTH), 2);
    dressed.unbind(texture_unit::color);
    around.bind_cube();
    EXPECT_GT(level_parameter(GL_TEXTURE_CUBE_MAP_NEGATIVE_Z, 0, GL_TEXTURE_WIDTH), 1);
    around.unbind_cube();
}

TEST_F(SurfaceTexture, EverythingIsLetGo) {
    save("wood.png", rgba8, 8, 8);
    save("heights.bmp", grey8, 8, 8);
    const int before = living_textures();
    for (int i = 0; i < 1000; ++i) {
        texture_t dressed;
        dressed.texture = "wood.png";
        dressed.bumpmap = "heights.bmp";
        dressed.open(model_);
        environment_t around;
        ASSERT_TRUE(around.initex(model_));
        if (i == 0) {
            EXPECT_GE(living_textures() - before, 4);
            EXPECT_TRUE(pixel_bytes().try_allocate(0, files_.file("heights.bmp").c_str(), 1))
                << "a picture that is worn leaves its file to others";
        }
    }
    EXPECT_EQ(living_textures(), before);
    EXPECT_EQ(texture_table::shared()->size(), 0u);
}

// ---- The environment

class Environment : public SurfaceTexture {
protected:
    // Six faces whose rows can be told apart.
    void save_faces(const std::string& stem) {
        int face = 0;
        for (const std::string& name : face_names(stem)) {
            image2d image = patterned(4, 4, rgb8);
            for (std::uint32_t y = 0; y < 4; ++y) {
                for (std::uint32_t x = 0; x < 12; ++x) {
                    image.row(y)[x] = static_cast<unsigned char>(40 * face + 10 * y + x % 3);
                }
            }
            save(name, image);
            ++face;
        }
    }
};

TEST_F(Environment, SixFilesUprightAndInOrder) {
    save_faces("sky.png");
    environment_t around;
    EXPECT_FALSE(around.has_cube());
    around.cubetex = "sky.png";
    ASSERT_TRUE(around.initex(model_));
    ASSERT_TRUE(around.has_cube());
    around.bind_cube();
    for (unsigned face = 0; face < 6; ++face) {
        const auto back = level_pixels(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, 0, GL_RGB, GL_UNSIGNED_BYTE, 3);
        ASSERT_EQ(back.size(), 48u);
        EXPECT_EQ(back[0], 40 * face + 30) << "the top row of the picture comes first, face " << face;
        EXPECT_EQ(back[36], 40 * face);
    }
    around.unbind_cube();
    environment_t again;
    again.cubetex = "./sky.png";
    std::filesystem::remove(files_.path() / "sky_negz.png");
    EXPECT_TRUE(again.initex(model_)) << "in the table";
}

// As programs write them that keep plain pictures small. A cube map of unequal faces would be black.
TEST_F(Environment, FacesOfAnyKindMakeOneCube) {
    using namespace bits_class;
    constexpr auto u = sample_type::unsigned_integer;
    const pixel_descriptor kinds[] = {{pixel_format::luminance, u, bits_1}, rgb8,  grey8,
                                      {pixel_format::rgb, u, bits_16},      rgba8, rgb8};
    for (const bool all_narrow : {true, false}) {
        const std::string stem = all_narrow ? "dusk.png" : "dawn.png";
        const auto names = face_names(stem);
        for (std::size_t i = 0; i < names.size(); ++i) {
            image2d face = patterned(8, 8, kinds[all_narrow ? 0 : i]);
            std::fill_n(face.pixels.data(), face.pixels.size(), 0xFF);
            save(names[i], face);
        }
        environment_t around;
        around.cubetex = stem;
        ASSERT_TRUE(around.initex(model_));
        around.bind_cube();
        const GLint format = level_parameter(GL_TEXTURE_CUBE_MAP_POSITIVE_X, 0, GL_TEXTURE_INTERNAL_FORMAT);
        for (unsigned face = 0; face < 6; ++face) {
            const GLenum target = GL_TEXTURE_CUBE_MAP_POSITIVE_X + face;
            EXPECT_EQ(level_parameter(target, 0, GL_TEXTURE_INTERNAL_FORMAT), format) << face;
            EXPECT_EQ(level_pixels(target, 0, GL_RED, GL_UNSIGNED_BYTE, 1),
                      std::vector<unsigned char>(8 * 8, 255))
                << face;
        }
        around.unbind_cube();
    }
    EXPECT_EQ(take_err(), "");
}

TEST_F(Environment, AMissingOrUnequalFaceStopsTheLoading) {
    save_faces("sky.png");
    std::filesystem::remove(files_.path() / "sky_posy.png");
    std::filesystem::remove(files_.path() / "sky_negz.png");
    environment_t around;
    around.cubetex = "sky.png";
    EXPECT_FALSE(around.initex(model_));
    const std::string reported = take_err();
    EXPECT_NE(reported.find(files_.file("sky_posy.png") + ": autoloadformat failed.\n"), std::string::npos)
        << reported;
    EXPECT_EQ(reported.find("negz"), std::string::npos);
    EXPECT_FALSE(around.has_cube());
    save_faces("sky.png");
    save("sky_negx.png", rgb8, 8, 8);
    EXPECT_FALSE(around.initex(model_));
    EXPECT_EQ(take_err(),
              files_.file("sky_negx.png") + ": the six pictures of a cube map are squares of one size.\n");
    save_faces("sky.png");
    EXPECT_TRUE(around.initex(model_)) << "a set that was not whole is tried again";
}

TEST_F(Environment, DefaultIsASoftLightFromAbove) {
    environment_t around, other;
    EXPECT_EQ(around.reflect_alpha(), 0.0f);
    EXPECT_EQ(around.refract_alpha(), 0.0f);
    EXPECT_EQ(around.refract_factor(), 0.0f);
    ASSERT_TRUE(around.initex(model_));
    ASSERT_TRUE(other.initex(""));
    around.reflectalpha = 0.25f;
    EXPECT_EQ(around.reflect_alpha(), 0.25f);
    around.bind_cube();
    double mean[6] = {};
    int steepest = 0;
    for (unsigned face = 0; face < 6; ++face) {
        const auto pixels =
            level_pixels(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, 0, GL_RGB, GL_UNSIGNED_BYTE, 3);
        const std::size_t row = std::size_t(std::lround(std::sqrt(double(pixels.size()) / 3))) * 3;
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            mean[face] += pixels[i] / double(pixels.size());
            if (i % row >= 3) steepest = std::max(steepest, std::abs(pixels[i] - pixels[i - 3]));
        }
    }
    EXPECT_GT(mean[2], 2 * mean[3]) << "above against below";
    for (const unsigned side : {0u, 1u, 4u, 5u}) {
        EXPECT_GT(mean[side], mean[3]);
        EXPECT_LT(mean[side], mean[2]);
    }
    EXPECT_LE(steepest, 16) << "no edge anywhere";
    around.unbind_cube();
}

} // namespace
