// Surface textures and the environment from real picture files.

#include "libgr/texture/surface_texture.h"

#include "libgr/image/autoformat.h"
#include "libgr/image/processing.h"
#include "libgr/texture/environment.h"
#include "libgr/texture/texture_table.h"
#include "support/temporary_directory.h"
#include "textures.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

namespace {

using namespace libgr;
using namespace libgr::kinds;
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
    image2d save(const std::string& name, const pixel_descriptor& descriptor, std::uint32_t size = 4) {
        return save(name, patterned(size, size, descriptor));
    }
    static const image2d& image_of(const texture_t& dressed, texture_unit unit) {
        return dressed.record(unit)->image();
    }
    // How many of the first names are textures.
    static int living_textures() {
        int count = 0;
        for (GLuint name = 1; name < 4096; ++name)
            count += glIsTexture(name);
        return count;
    }

    temporary_directory files_;
    std::string model_;
};

TEST_F(SurfaceTexture, PathsAndNames) {
    const std::array<const char*, 3> cases[] = {
        {"/a/b/m.pmt", "c.png", "/a/b/c.png"},  {"/a/b/m.pmt", "/c.png", "/c.png"},
        {"m.pmt", "c d.png", "c d.png"},        {"/a/m.pmt", "../c.png", "/a/../c.png"},
        {"/a/m.pmt", "C:\\c.png", "C:\\c.png"}, {"/a/m.pmt", "C:/c.png", "C:/c.png"},
        {"/a/m.pmt", "\\\\h\\c", "\\\\h\\c"},   {"/a/m.pmt", "c:d", "/a/c:d"}};
    for (const auto& [model, name, path] : cases)
        EXPECT_EQ(picture_path(model, name), path);
    EXPECT_EQ(take_err(), "");
    EXPECT_EQ(picture_path("", "c.png"), "c.png");
    EXPECT_EQ(take_err(), "c.png: base filename.\n");

    EXPECT_EQ(face_names("/a.b/sky.png"),
              (std::array<std::string, 6>{"/a.b/sky_posx.png", "/a.b/sky_negx.png", "/a.b/sky_posy.png",
                                          "/a.b/sky_negy.png", "/a.b/sky_posz.png", "/a.b/sky_negz.png"}));
    EXPECT_EQ(face_names("/a.b/sky")[5], "/a.b/sky_negz");
    EXPECT_EQ(face_names("sky.v2.jpg")[0], "sky.v2_posx.jpg");
}

TEST_F(SurfaceTexture, DefaultsAreSinglePixels) {
    texture_t plain;
    EXPECT_FALSE(plain.has(texture_unit::color));
    plain.open(model_);
    const std::tuple<texture_unit, pixel_descriptor, bytes> expected[] = {
        {texture_unit::color, rgba8, {255, 255, 255, 255}},
        {texture_unit::bump, signed_rgb8, {0, 0, 127}},
        {texture_unit::specular, rgba8, {128, 128, 128, 255}}};
    for (const auto& [unit, descriptor, pixel] : expected) {
        ASSERT_TRUE(plain.has(unit));
        EXPECT_EQ(image_of(plain, unit).descriptor, descriptor);
        EXPECT_EQ(packed_rows(image_of(plain, unit)), pixel);
        EXPECT_EQ(plain.record(unit)->parameters.min_filter, GL_LINEAR);
    }
    EXPECT_EQ(plain.bump_offset(), (std::array{0.0f, 0.0f}));
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
    first.bind(texture_unit::color);
    EXPECT_EQ(level_pixels(GL_TEXTURE_2D, 0), packed_rows(saved));
    first.unbind(texture_unit::color);
}

TEST_F(SurfaceTexture, OptionsChooseTheFilters) {
    save("a.png", rgba8);
    const std::tuple<bool, bool, bool, GLint, GLint> cases[] = {
        {false, false, false, GL_NEAREST, GL_NEAREST},
        {false, true, true, GL_LINEAR, GL_LINEAR},
        {true, false, true, GL_NEAREST_MIPMAP_NEAREST, GL_LINEAR},
        {true, true, false, GL_LINEAR_MIPMAP_LINEAR, GL_NEAREST}};
    texture_t dressed;
    dressed.texture = "a.png";
    for (const auto& [mipmap, nearlinear, maglinear, min_filter, mag_filter] : cases) {
        dressed.mipmap = mipmap, dressed.nearlinear = nearlinear, dressed.maglinear = maglinear;
        dressed.aniso = mipmap ? 4.0f : 1.0f;
        dressed.open(model_);
        dressed.bind(texture_unit::color);
        const auto get = [](GLenum what) { return texture_parameter(GL_TEXTURE_2D, what); };
        EXPECT_EQ(get(GL_TEXTURE_MIN_FILTER), min_filter);
        EXPECT_EQ(get(GL_TEXTURE_MAG_FILTER), mag_filter);
        EXPECT_EQ(get(GL_TEXTURE_WRAP_S), GL_REPEAT);
        EXPECT_EQ(get(GL_TEXTURE_WRAP_T), GL_REPEAT);
        EXPECT_EQ(get(GL_TEXTURE_MAX_ANISOTROPY_EXT), mipmap ? 4 : 1);
        EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 1), mipmap ? 2 : 0);
        dressed.unbind(texture_unit::color);
    }
}

TEST_F(SurfaceTexture, BumpPicturesBecomeNormals) {
    const image2d heights = save("heights.png", patterned(8, 4, grey8));
    image2d translucent = patterned(8, 4, grey_alpha8), dots = patterned(8, 4, grey1, 0xA0);
    for (std::uint32_t i = 0; i < 8 * 4; ++i)
        translucent.pixels[2 * i] = heights.pixels[i];
    save("translucent.png", translucent);
    save("dots.png", dots);
    save("four.tga", bgra8);
    image2d from_heights, from_dots, from_color;
    const image2d color = save("color.png", patterned(8, 4, rgb8));
    ASSERT_TRUE(normalmap(from_heights, heights) && rgb2grey(from_color, color) &&
                normalmap(from_color, from_color) && load_picture(dots, files_.file("dots.png")) &&
                normalmap(from_dots, dots));
    constexpr pixel_descriptor signed_bgra8 = {pixel_format::bgra, sample_type::signed_integer,
                                               bits_class::bits_8};
    texture_t keep; // keeps the table
    keep.open(model_);
    const struct {
        const char* file;
        bool mono, offset;
        pixel_descriptor descriptor;
        bytes pixels;
        std::size_t entries; // new ones of the table
        const char* line = "";
    } cases[] = {{"heights.png", false, true, signed_rgb8, packed_rows(from_heights), 2}, // and .norm
                 {"translucent.png", false, true, signed_rgb8, packed_rows(from_heights), 2},
                 {"dots.png", false, true, signed_rgb8, packed_rows(from_dots), 2},
                 // Only the meaning of the bytes changes.
                 {"color.png", false, false, signed_rgb8, packed_rows(color), 2},    // and .sint
                 {"color.png", true, true, signed_rgb8, packed_rows(from_color), 2}, // and .mono, .mono.norm
                 {"color.png", true, false, signed_rgb8, packed_rows(from_color), 0},
                 // What cannot be turned to grey goes on as it is.
                 {"four.tga", true, true, signed_bgra8, packed_rows(patterned(4, 4, bgra8)), 3,
                  "11: image format is not RGB.\n"}};
    for (const auto& c : cases) {
        const std::size_t before = texture_table::shared()->size();
        texture_t bumped;
        bumped.bumpmap = c.file;
        bumped.bump2mono = c.mono;
        bumped.bumpofs = c.offset;
        bumped.open(model_);
        const image2d& image = image_of(bumped, texture_unit::bump);
        EXPECT_EQ(image.descriptor, c.descriptor) << c.file;
        EXPECT_EQ(packed_rows(image), c.pixels) << c.file;
        const float width = float(image.width), height = float(image.height);
        EXPECT_EQ(bumped.bump_offset(),
                  (c.offset ? std::array{-0.5f / width, -0.5f / height} : std::array{0.0f, 0.0f}));
        EXPECT_EQ(texture_table::shared()->size() - before, c.entries) << c.file;
        EXPECT_EQ(take_err(), c.line);
    }
}

TEST_F(SurfaceTexture, MissingPicturesLeaveTheUnitAsItWas) {
    const std::string missing = files_.file("missing.png"), other = files_.file("other.gif"),
                      text = files_.write("text.png", "this is no picture");
    texture_t dressed;
    dressed.texture = "missing.png", dressed.bumpmap = "text.png", dressed.specular = "other.gif";
    dressed.open(model_);
    const std::string reported = take_err();
    for (const std::string& line :
         {missing + ": color autoloadformat failed.\n", text + ": bump autoloadformat failed.\n",
          "autoloadformat load fail, fname=" + other + "\n" + other + ": autoloadformat failed.\n"})
        EXPECT_NE(reported.find(line), std::string::npos) << reported;
    for (const texture_unit unit : {texture_unit::color, texture_unit::bump, texture_unit::specular})
        EXPECT_FALSE(dressed.has(unit));
    // What the unit held stays, and nothing is tried again while the table lives.
    texture_t another = dressed;
    save("wood.png", rgba8);
    for (const char* name : {"wood.png", "missing.png"}) {
        another.texture = name;
        another.open(model_);
        EXPECT_EQ(take_err(), "");
        EXPECT_TRUE(another.has(texture_unit::color));
    }
}

TEST_F(SurfaceTexture, PicturesWaitForAContext) {
    save("wood.png", rgba8);
    texture_t dressed;
    dressed.texture = dressed.bumpmap = "wood.png";
    environment_t around;
    {
        const without_context none;
        dressed.open(model_);
        EXPECT_TRUE(around.initex(model_));
        EXPECT_FALSE(dressed.record(texture_unit::color)->object.attached());
    }
    dressed.bind(texture_unit::color);
    EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 1), 2);
    dressed.unbind(texture_unit::color);
    around.bind_cube();
    EXPECT_GT(level_parameter(GL_TEXTURE_CUBE_MAP_NEGATIVE_Z, 0), 1);
    around.unbind_cube();
}

TEST_F(SurfaceTexture, EverythingIsLetGo) {
    save("wood.png", rgba8, 8);
    save("heights.bmp", grey8, 8);
    const int before = living_textures();
    {
        texture_t dressed;
        dressed.texture = "wood.png";
        dressed.bumpmap = "heights.bmp";
        dressed.open(model_);
        environment_t around;
        ASSERT_TRUE(around.initex(model_));
        EXPECT_GE(living_textures() - before, 4);
        EXPECT_TRUE(pixel_bytes().try_allocate(0, files_.file("heights.bmp").c_str(), 1))
            << "a picture that is worn leaves its file to others";
    }
    EXPECT_EQ(living_textures(), before);
    EXPECT_EQ(texture_table::shared()->size(), 0u);
}

class Environment : public SurfaceTexture {
protected:
    // Six faces whose rows can be told apart.
    void save_faces() {
        int face = 0;
        for (const std::string& name : face_names("sky.png")) {
            image2d image = patterned(4, 4, rgb8, 40 * face++);
            for (std::uint32_t y = 0; y < 4; ++y)
                for (unsigned char* b = image.row(y); b < image.row(y) + 12; ++b)
                    *b = static_cast<unsigned char>(*b + 10 * y);
            save(name, image);
        }
    }
    static bytes face_pixels(unsigned face, GLenum format = GL_RGB, std::size_t size = 3) {
        return level_pixels(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, 0, format, GL_UNSIGNED_BYTE, size);
    }
};

TEST_F(Environment, SixFilesUprightAndInOrder) {
    save_faces();
    environment_t around, again;
    EXPECT_FALSE(around.has_cube());
    around.cubetex = "sky.png";
    glDisable(GL_TEXTURE_CUBE_MAP_SEAMLESS);
    ASSERT_TRUE(around.initex(model_));
    ASSERT_TRUE(around.has_cube());
    EXPECT_TRUE(glIsEnabled(GL_TEXTURE_CUBE_MAP_SEAMLESS));
    around.bind_cube();
    for (unsigned face = 0; face < 6; ++face) {
        ASSERT_EQ(face_pixels(face).size(), 48u);
        EXPECT_EQ(face_pixels(face)[0], 40 * face + 30) << "the top row comes first, face " << face;
        EXPECT_EQ(face_pixels(face)[36], 40 * face);
    }
    for (const GLenum wrap : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T, GL_TEXTURE_WRAP_R})
        EXPECT_EQ(texture_parameter(GL_TEXTURE_CUBE_MAP, wrap), GL_CLAMP_TO_EDGE);
    around.unbind_cube();
    EXPECT_EQ(state(GL_TEXTURE_BINDING_CUBE_MAP), 0);
    again.cubetex = "./sky.png";
    std::filesystem::remove(files_.path() / "sky_negz.png");
    EXPECT_TRUE(again.initex(model_)) << "in the table";
}

// As programs write them that keep plain pictures small. A cube map of unequal faces would be black.
TEST_F(Environment, FacesOfAnyKindMakeOneCube) {
    const pixel_descriptor kinds[] = {grey1, rgb8, grey8, rgb16, rgba8, rgb8};
    for (const bool all_narrow : {true, false}) {
        environment_t around;
        around.cubetex = all_narrow ? "dusk.png" : "dawn.png";
        const auto names = face_names(around.cubetex);
        for (std::size_t i = 0; i < names.size(); ++i)
            save(names[i], patterned(8, 8, kinds[all_narrow ? 0 : i], 0xFF));
        ASSERT_TRUE(around.initex(model_));
        around.bind_cube();
        for (unsigned face = 0; face < 6; ++face) {
            EXPECT_EQ(level_parameter(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, 0, GL_TEXTURE_INTERNAL_FORMAT),
                      all_narrow ? GL_LUMINANCE8 : GL_RGBA8)
                << face;
            EXPECT_EQ(face_pixels(face, GL_RED, 1), bytes(8 * 8, 255)) << face;
        }
        around.unbind_cube();
    }
}

TEST_F(Environment, AMissingOrUnequalFaceStopsTheLoading) {
    save_faces();
    std::filesystem::remove(files_.path() / "sky_posy.png");
    std::filesystem::remove(files_.path() / "sky_negz.png");
    environment_t around;
    around.cubetex = "sky.png";
    EXPECT_FALSE(around.initex(model_));
    const std::string reported = take_err();
    EXPECT_TRUE(reported.ends_with(files_.file("sky_posy.png") + ": autoloadformat failed.\n")) << reported;
    EXPECT_EQ(reported.find("negz"), std::string::npos);
    EXPECT_FALSE(around.has_cube());
    save_faces();
    save("sky_negx.png", patterned(4, 8, rgb8));
    EXPECT_FALSE(around.initex(model_));
    EXPECT_EQ(take_err(),
              files_.file("sky_negx.png") + ": the six pictures of a cube map are squares of one size.\n");
    save_faces();
    EXPECT_TRUE(around.initex(model_)) << "a set that was not whole is tried again";
}

// Brightest above, with a lamp above and in front, to the left: how each face changes along its rows and
// columns (more, less, the same) tells how it lies.
TEST_F(Environment, DefaultIsASoftLightFromAbove) {
    const int along_rows[] = {0, 1, -1, 0, -1, 0}, along_columns[] = {-1, -1, 1, 0, -1, -1};
    environment_t around;
    ASSERT_TRUE(around.initex(""));
    around.bind_cube();
    int sums[6] = {}, steepest = 0;
    for (unsigned face = 0; face < 6; ++face) {
        const bytes pixels = face_pixels(face);
        const auto size = int(std::lround(std::sqrt(double(pixels.size()) / 3)));
        const auto at = [&](int x, int y) { return int(pixels[std::size_t(3 * (y * size + x))]); };
        int rows = 0, columns = 0;
        for (int y = 0; y < size; ++y)
            for (int x = 0; x < size; ++x) {
                sums[face] += at(x, y);
                rows += x < size / 2 ? -at(x, y) : at(x, y);
                columns += y < size / 2 ? -at(x, y) : at(x, y);
                if (x > 0) steepest = std::max(steepest, std::abs(at(x, y) - at(x - 1, y)));
            }
        EXPECT_EQ((rows > 0) - (rows < 0), along_rows[face]) << face;
        EXPECT_EQ((columns > 0) - (columns < 0), along_columns[face]) << face;
    }
    EXPECT_GT(sums[2], 2 * sums[3]) << "above against below";
    for (const unsigned side : {0u, 1u, 4u, 5u})
        EXPECT_TRUE(sums[3] < sums[side] && sums[side] < sums[2]) << side;
    EXPECT_LE(steepest, 16) << "no edge anywhere";
    around.unbind_cube();
}

} // namespace
