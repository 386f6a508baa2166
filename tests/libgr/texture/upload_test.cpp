// Uploads of every kind, read back from the software renderer's texture memory and compared with the pixels.

#include "libgr/texture/texture_image.h"
#include "libgr/texture/transfer_table.h"
#include "support/gl_faults.h"
#include "textures.h"

#include <numeric>
#include <set>
#include <tuple>

namespace {

using namespace libgr;
using namespace libgr::kinds;
using namespace test_support;

constexpr pixel_descriptor half_rgb = {pixel_format::rgb, sample_type::floating, bits_class::bits_16};
constexpr pixel_descriptor half_rgba = {pixel_format::rgba, sample_type::floating, bits_class::bits_16};

// While it lives, a GL extension or function has another value.
template <class T>
class instead {
public:
    instead(T& what, T value) : what_(what), before_(what) { what = value; }
    ~instead() { what_ = before_; }
    instead(const instead&) = delete;
    instead& operator=(const instead&) = delete;

private:
    T &what_, before_;
};

class Upload : public gl_test {
protected:
    void TearDown() override {
        glDeleteTextures(1, &name_);
        gl_test::TearDown();
    }
    // Into a fresh texture bound to the target.
    void fresh(GLenum target, grTexturableImageGL& images) {
        glDeleteTextures(1, &name_);
        glGenTextures(1, &name_);
        glBindTexture(target, name_);
        images.upload();
    }
    void fresh(const std::vector<image2d>& images) {
        picture.images = images;
        fresh(GL_TEXTURE_2D, picture);
    }
    static GLint width(GLint level, GLenum target = GL_TEXTURE_2D) { return level_parameter(target, level); }

    grTexture2D picture;
    grTextureCubeMap cube;

private:
    GLuint name_ = 0;
};

// What the table maps is taken, or refused by the GL and skipped; what the GL keeps in full comes back.
TEST_F(Upload, EveryFormatComesBack) {
    using namespace bits_class;
    std::set<std::tuple<std::uint32_t, std::uint32_t, std::uint32_t>> exact;
    for (std::uint32_t format = 0; format < pixel_format::color_index; ++format)
        for (std::uint32_t type = 0; type <= sample_type::floating; ++type)
            for (std::uint32_t bits = 0; bits < none; ++bits) {
                const pixel_descriptor descriptor = {format, type, bits};
                transfer how;
                if (!find_transfer(descriptor, how)) continue;
                image2d image = patterned(5, 3, descriptor);
                for (unsigned char& byte : image.pixels) {
                    if (type == sample_type::floating) byte &= 0x3B;    // no infinity, no NaN
                    if (type == sample_type::signed_integer) byte |= 1; // -128 means the same as -127
                }
                fresh({image});
                clear_errors();
                const bool whole = bits == bits_8 || bits == bits_16 || bits == bits_32 ||
                                   (bits >= packed_3_3_2 && bits <= packed_2_10_10_10);
                if (!whole || level_parameter(GL_TEXTURE_2D, 0) != 5) continue;
                const auto back =
                    level_pixels(GL_TEXTURE_2D, 0, how.format, how.type, bits_per_pixel(descriptor) / 8);
                if (glGetError() == GL_NO_ERROR && back == packed_rows(image))
                    exact.insert({format, type, bits});
            }
    take_err();
    // What every picture reader, processing step and texture artist relies on.
    std::set<std::tuple<std::uint32_t, std::uint32_t, std::uint32_t>> needed = {
        {8, 2, 5},  {9, 2, 5},  {8, 0, 5},  {9, 0, 5}, {8, 1, 9},
        {9, 1, 11}, {9, 1, 12}, {14, 1, 3}, {15, 1, 3}};
    for (const std::uint32_t format :
         {pixel_format::luminance, pixel_format::luminance_alpha, pixel_format::alpha, pixel_format::rgb,
          pixel_format::rgba, pixel_format::bgr, pixel_format::bgra}) {
        const bool signs = format >= pixel_format::rgb;
        needed.insert({{format, 1, bits_8},
                       {format, 1, bits_16},
                       {format, 2, bits_32},
                       {format, signs ? 0 : 2, signs ? bits_8 : bits_16}});
    }
    for (const auto& one : needed)
        EXPECT_TRUE(exact.contains(one)) << std::get<0>(one) << ' ' << std::get<2>(one);
    // How the GL keeps them.
    const struct {
        pixel_descriptor descriptor;
        GLenum internal;
        bool compress = false;
    } kept[] = {{grey1, 1281},
                {grey8, GL_LUMINANCE8},
                {grey16, GL_LUMINANCE16},
                {grey_alpha8, GL_LUMINANCE8_ALPHA8},
                {signed_rgb8, GL_RGB8_SNORM},
                {rgb16, GL_RGB16},
                {bgr8, GL_RGB8},
                {bgra5551, GL_RGB5_A1},
                {half_rgba, GL_RGBA16F},
                {{pixel_format::red, 0, bits_32}, GL_R32I},
                {{pixel_format::depth, 2, bits_24}, GL_DEPTH_COMPONENT24},
                {unsigned_samples(pixel_format::special_2), 1281},
                {unsigned_samples(99), 1281},
                {bgra8, GL_COMPRESSED_RGBA, true},
                {signed_rgb8, GL_RGB8_SNORM, true}};
    for (const auto& k : kept) {
        picture.images.assign(1, {});
        picture.images[0].descriptor = k.descriptor;
        picture.compress = k.compress;
        EXPECT_EQ(picture.internal_format(), k.internal) << k.descriptor.format;
        EXPECT_EQ(take_err().empty(), k.internal != 1281);
    }
}

TEST_F(Upload, SignedNormalsKeepTheirSign) {
    image2d normals = patterned(2, 1, signed_rgb8);
    const signed char values[] = {-127, 64, 127, 0, -1, 100};
    std::memcpy(normals.pixels.data(), values, sizeof values);
    for (const bool mipmaps : {false, true}) {
        picture.generate_mipmaps = mipmaps;
        fresh({normals});
        float back[6] = {}, mean[3] = {-0.5f};
        glGetTexImage(GL_TEXTURE_2D, 0, GL_RGB, GL_FLOAT, back);
        for (int i = 0; i < 6; ++i)
            EXPECT_FLOAT_EQ(back[i], values[i] / 127.0f) << i;
        if (mipmaps) glGetTexImage(GL_TEXTURE_2D, 1, GL_RGB, GL_FLOAT, mean);
        EXPECT_NEAR(mean[0], -0.5f, 0.01f) << "negative also in the smaller levels";
    }
}

TEST_F(Upload, LevelsFacesAndSlices) {
    fresh({patterned(4, 4, rgba8), patterned(2, 2, rgba8), patterned(1, 1, rgba8)});
    for (const unsigned level : {0u, 1u, 2u})
        EXPECT_EQ(level_pixels(GL_TEXTURE_2D, GLint(level)), packed_rows(picture.images[level])) << level;

    for (int face = 0; face < 7; ++face)
        cube.images.push_back(patterned(4, 4, rgba8, face));
    fresh(GL_TEXTURE_CUBE_MAP, cube);
    cube.images[5] = patterned(4, 4, rgba8, 77);
    cube.reupload();
    for (unsigned face = 0; face < 6; ++face)
        EXPECT_EQ(level_pixels(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, 0), packed_rows(cube.images[face]))
            << face;

    grTexture1D line;
    line.images.resize(1);
    line.images[0].descriptor = rgba8;
    line.images[0].width = 8;
    ASSERT_TRUE(line.images[0].allocate());
    std::iota(line.images[0].pixels.begin(), line.images[0].pixels.end(), '\0');
    for (const std::uint32_t allocation : {0u, 12u}) {
        line.allocation_width = allocation;
        fresh(GL_TEXTURE_1D, line);
        EXPECT_EQ(width(0, GL_TEXTURE_1D), allocation ? 12 : 8);
        EXPECT_EQ(std::memcmp(level_pixels(GL_TEXTURE_1D, 0).data(), line.images[0].pixels.data(), 32), 0);
    }

    // Slices with rows that must be skipped, each row padded to 4 bytes.
    grTexture3D solid;
    solid.images.resize(1);
    image3d& volume = solid.images[0];
    volume.descriptor = rgb8;
    volume.width = 3, volume.height = volume.depth = 2, volume.skip_rows = 1;
    ASSERT_TRUE(volume.allocate());
    std::iota(volume.pixels.begin(), volume.pixels.end(), '\0');
    bytes expected;
    for (std::uint32_t z = 0; z < 2; ++z)
        for (std::uint32_t y = 0; y < 2; ++y)
            expected.insert(expected.end(), volume.pixel(0, y, z), volume.pixel(0, y, z) + 9);
    for (const bool mipmaps : {false, true}) {
        solid.generate_mipmaps = mipmaps;
        fresh(GL_TEXTURE_3D, solid);
        EXPECT_EQ(level_pixels(GL_TEXTURE_3D, 0, GL_RGB, GL_UNSIGNED_BYTE, 3), expected);
        EXPECT_EQ(width(1, GL_TEXTURE_3D), mipmaps ? 1 : 0);
    }
}

TEST_F(Upload, PixelStoreIsAppliedAndPutBack) {
    image2d image;
    image.descriptor = grey16;
    image.store = std::make_shared<pixel_store>(pixel_store{.swap_bytes = 1, .alignment = 1});
    image.row_length = 5, image.skip_pixels = 1, image.skip_rows = 2;
    image.width = 3, image.height = 2;
    ASSERT_TRUE(image.allocate());
    bytes expected;
    for (std::uint32_t y = 0; y < 2; ++y)
        for (std::uint32_t x = 0; x < 3; ++x) {
            image.pixel(x, y)[0] = static_cast<unsigned char>(10 * y + x); // high byte first
            image.pixel(x, y)[1] = 0x80;
            expected.insert(expected.end(), {0x80, image.pixel(x, y)[0]});
        }
    fresh({image});
    EXPECT_EQ(level_pixels(GL_TEXTURE_2D, 0, GL_LUMINANCE, GL_UNSIGNED_SHORT, 2), expected);
    EXPECT_EQ(state(GL_UNPACK_ALIGNMENT), 4);
    for (const GLenum what :
         {GL_UNPACK_SWAP_BYTES, GL_UNPACK_ROW_LENGTH, GL_UNPACK_SKIP_PIXELS, GL_UNPACK_SKIP_ROWS})
        EXPECT_EQ(state(what), 0) << what;
}

TEST_F(Upload, MipmapsThroughEachRoute) {
    // The texture's own building and the GL's keep any size; the utility library makes powers of two.
    const struct {
        pixel_descriptor descriptor;
        GLboolean by_itself;
        GLint width;
    } cases[] = {{rgba8, GL_TRUE, 6}, {rgba8, GL_FALSE, 8}, {grey8, GL_TRUE, 8}, {half_rgb, GL_TRUE, 6}};
    picture.generate_mipmaps = cube.generate_mipmaps = true;
    for (const auto& c : cases) {
        if (c.by_itself && !GLEW_SGIS_generate_mipmap) continue;
        const instead extension(__GLEW_SGIS_generate_mipmap, c.by_itself);
        fresh({patterned(6, 6, c.descriptor)});
        for (const bool again : {false, true}) {
            if (again) picture.reupload();
            for (const int level : {0, 1, 2})
                EXPECT_EQ(width(level), c.width >> level);
            EXPECT_EQ(texture_parameter(GL_TEXTURE_2D, GL_GENERATE_MIPMAP), GL_FALSE);
        }
    }
    // A cube map is built with its last face, and without anybody to build it has one level.
    for (const bool by_gl : {true, false}) {
        const instead builder(__glewGenerateMipmap, by_gl ? __glewGenerateMipmap : nullptr);
        cube.images.assign(6, patterned(4, 4, half_rgba));
        fresh(GL_TEXTURE_CUBE_MAP, cube);
        EXPECT_EQ(width(2, GL_TEXTURE_CUBE_MAP_NEGATIVE_Z), by_gl ? 1 : 0);
        EXPECT_EQ(texture_parameter(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MAX_LEVEL) == 0, !by_gl);
    }
    for (int face = 0; face < 6; ++face)
        cube.images[std::size_t(face)] = patterned(8, 8, rgba8, 40 * face);
    for (const GLboolean by_itself : {GL_TRUE, GL_FALSE}) {
        if (by_itself && !GLEW_SGIS_generate_mipmap) continue;
        const instead extension(__GLEW_SGIS_generate_mipmap, by_itself);
        fresh(GL_TEXTURE_CUBE_MAP, cube);
        for (unsigned face = 0; face < 6; ++face)
            EXPECT_EQ(level_pixels(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, 3),
                      bytes(4, static_cast<unsigned char>(40 * face)));
        EXPECT_EQ(texture_parameter(GL_TEXTURE_CUBE_MAP, GL_GENERATE_MIPMAP), GL_FALSE);
    }
}

TEST_F(Upload, LevelsAreMeansAndFollowNewPixels) {
    picture.generate_mipmaps = true;
    for (const auto& [size, kind, channels] : {std::tuple{4u, rgba8, 4u}, {4u, grey8, 1u}, {2u, grey8, 1u}}) {
        const image2d top = patterned(size, size, kind);
        fresh({top});
        const GLenum format = channels == 1 ? GL_LUMINANCE : GL_RGBA;
        const auto below = level_pixels(GL_TEXTURE_2D, 1, format, GL_UNSIGNED_BYTE, channels);
        for (unsigned y = 0; y < size; y += 2)
            for (unsigned x = 0; x < size * channels; ++x) {
                const unsigned column = x / (2 * channels) * 2, c = x % channels;
                const double sum = top.pixel(column, y)[c] + top.pixel(column + 1, y)[c] +
                                   top.pixel(column, y + 1)[c] + top.pixel(column + 1, y + 1)[c];
                EXPECT_NEAR(below[(y / 2 * size / 2 + column / 2) * channels + c], sum / 4, 1) << size;
            }
    }
    fresh({patterned(4, 4, rgba8)});
    picture.images = {patterned(4, 4, rgba8, 200)};
    picture.reupload();
    EXPECT_EQ(level_pixels(GL_TEXTURE_2D, 0), bytes(64, 200));
    EXPECT_EQ(level_pixels(GL_TEXTURE_2D, 2), bytes(4, 200));
    // A further picture replaces its level, and only that.
    fresh({patterned(4, 4, rgba8), patterned(2, 2, grey8)});
    EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 1, GL_TEXTURE_INTERNAL_FORMAT), GL_LUMINANCE8);
    picture.reupload();
    EXPECT_EQ(width(0), 4) << "made from the first alone";
}

TEST_F(Upload, AllocationWidthAndBorder) {
    picture.allocation_width = 10;
    fresh({patterned(3, 2, rgba8)});
    EXPECT_EQ(width(0), 10);
    const auto back = level_pixels(GL_TEXTURE_2D, 0);
    ASSERT_EQ(back.size(), 80u);
    for (const unsigned y : {0u, 1u})
        EXPECT_EQ(std::memcmp(&back[40 * y], picture.images[0].row(y), 12), 0);
    const auto border = [] { return level_parameter(GL_TEXTURE_2D, 0, GL_TEXTURE_BORDER); };
    picture.generate_mipmaps = true;
    for (const int wanted : {0, 1}) {
        if (!GLEW_SGIS_generate_mipmap) break;
        picture.border = wanted;
        fresh({patterned(20, 3, rgba8)});
        EXPECT_EQ(width(0) - 2 * border(), 32) << "wider than asked";
    }
    // Border texels belong to the picture: 4 by 4 and a texel around it, whether or not the GL keeps them.
    picture.generate_mipmaps = false;
    picture.allocation_width = 0;
    picture.border = 1;
    fresh({patterned(6, 6, rgba8)});
    EXPECT_EQ(width(0) - 2 * border(), 4);
    EXPECT_EQ(level_pixels(GL_TEXTURE_2D, 0)[std::size_t(border() * (width(0) + 1)) * 4],
              picture.images[0].pixel(1, 1)[0]);
}

TEST_F(Upload, ColourNumbersGoThroughTheirTable) {
    image2d image = patterned(4, 2, unsigned_samples(pixel_format::color_index));
    ASSERT_TRUE(image.colors.allocate(3)); // no power of two
    const unsigned char colors[3][3] = {{10, 20, 30}, {255, 128, 0}, {1, 2, 3}},
                        numbers[] = {0, 1, 2, 0, 2, 1, 0, 1};
    for (unsigned i = 0; i < 3; ++i)
        image.colors.set(i, colors[i][0], colors[i][1], colors[i][2]);
    std::memcpy(image.pixels.data(), numbers, sizeof numbers);
    fresh({image});
    bytes expected;
    for (const unsigned char number : numbers)
        expected.insert(expected.end(), colors[number], colors[number] + 3);
    EXPECT_EQ(level_pixels(GL_TEXTURE_2D, 0, GL_RGB, GL_UNSIGNED_BYTE, 3), expected);
    EXPECT_EQ(state(GL_MAP_COLOR), GL_FALSE);
}

TEST_F(Upload, CompressedPictures) {
    image2d image = patterned(4, 4, rgb8);
    image.compressed = 1;
    {
        const instead extension(__GLEW_ARB_texture_compression, GLboolean(GL_FALSE));
        fresh({image});
        EXPECT_EQ(take_err(),
                  "error, ARB_texture_compression unsupported when compressed image loading, skip.\n");
    }
    // The table knows no compressed format of a size, so the GL refuses the call that is counted.
    const watched<&__glewCompressedTexImage2D> compressed;
    fresh({image});
    EXPECT_EQ(compressed.calls(), 1);
    image.descriptor = grey_alpha8; // not one that builds its own mipmaps
    picture.generate_mipmaps = true;
    fresh({image});
    EXPECT_EQ(compressed.calls(), 2);
    EXPECT_TRUE(
        take_err().ends_with("Compressed 'special format' image is ablen't to build mipmaps, fallback.\n"));
    clear_errors();

    // An ordinary picture that the GL may keep compressed.
    picture.compress = true;
    fresh({patterned(8, 8, rgba8)});
    EXPECT_EQ(width(1), 4);
}

TEST_F(Upload, PicturesThatCannotBeTakenAreSkipped) {
    fresh({}); // no picture at all
    picture.reupload();
    fresh({patterned(2, 2, unsigned_samples(pixel_format::red_green)), patterned(1, 1, rgba8)});
    EXPECT_EQ(take_err(), "Not supported image format! imgformat:7 imgtype:1 imgbits:3\n");
    EXPECT_EQ(width(0), 0);
    EXPECT_EQ(width(1), 1) << "the next level goes in all the same";

    // Intensity is none of the formats that pixels can have.
    picture.generate_mipmaps = true;
    fresh({patterned(4, 4, unsigned_samples(pixel_format::intensity))});
    picture.generate_mipmaps = false;
    EXPECT_TRUE(take_err().ends_with("\nerror, mipmaps cannot be built: invalid enumerant.\n"));

    image2d cut = patterned(4, 4, rgba8);
    cut.height = 5;
    fresh({cut, patterned(4, 1, unsigned_samples(pixel_format::rgb, bits_class::bits_12))});
    EXPECT_EQ(take_err(), "error, image has fewer bytes than its size needs, skip.\nnot support image bits.\n"
                          "error, image samples are of a width that OpenGL does not read, skip.\n");
    EXPECT_EQ(width(0), 0);

    // Samples of 4 bits are spread to 8.
    fresh({patterned(2, 1, grey4, 0xF3)});
    const auto back = level_pixels(GL_TEXTURE_2D, 0, GL_RED, GL_UNSIGNED_BYTE, 1);
    EXPECT_NEAR(back[0], 255, 16);
    EXPECT_NEAR(back[1], 3 * 17, 16);
}

TEST_F(Upload, PicturesTooLargeForTheGLAreScaledDown) {
    const auto most = std::uint32_t(state(GL_MAX_TEXTURE_SIZE));
    fresh({patterned(most * 2, 4, grey8)});
    EXPECT_TRUE(take_err().starts_with("real_max: " + std::to_string(most) + "\nm_width: "));
    EXPECT_EQ(width(0), GLint(most));
    EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT), 2);
    EXPECT_EQ(picture.images[0].width, most * 2) << "the picture itself stays";
}

} // namespace
