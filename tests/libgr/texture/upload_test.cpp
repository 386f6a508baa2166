// Uploads of every kind, read back from the software renderer's texture memory and compared with the pixels.

#include "libgr/texture/transfer_table.h"
#include "libgr/texture/texture_image.h"
#include "libgr/texture/texture_object.h"
#include "support/gl_faults.h"
#include "textures.h"

#include <cstring>
#include <set>
#include <sstream>

namespace {

using namespace libgr;
using namespace test_support;

class Upload : public gl_test {
protected:
    void SetUp() override {
        gl_test::SetUp();
        glGenTextures(1, &name_);
    }
    void TearDown() override {
        glDeleteTextures(1, &name_);
        gl_test::TearDown();
    }
    void bind(GLenum target) { glBindTexture(target, name_); }
    // A fresh texture bound to the target.
    void renew(GLenum target) {
        glDeleteTextures(1, &name_);
        glGenTextures(1, &name_);
        bind(target);
    }

private:
    GLuint name_ = 0;
};

// The picture's rows without padding.
std::vector<unsigned char> packed_rows(const image2d& image) {
    const std::uint64_t row = std::uint64_t(image.width) * bits_per_pixel(image.descriptor) / 8;
    std::vector<unsigned char> all;
    for (std::uint32_t y = 0; y < image.height; ++y)
        all.insert(all.end(), image.row(y), image.row(y) + row);
    return all;
}

// Whatever the table can map is taken, or refused by the GL and skipped; what the GL keeps in full comes back
// bit by bit.
TEST_F(Upload, EveryFormatComesBack) {
    std::set<std::string> exact; // "FORMAT/TYPE/BITS"
    for (std::uint32_t format = 0; format < pixel_format::color_index; ++format) {
        for (std::uint32_t type = 0; type <= sample_type::floating; ++type) {
            for (std::uint32_t bits = 0; bits < bits_class::none; ++bits) {
                const pixel_descriptor descriptor = {format, type, bits};
                transfer how;
                if (!find_transfer(descriptor, how)) {
                    take_err();
                    continue;
                }
                grTexture2D picture;
                image2d image = patterned(5, 3, descriptor);
                for (std::uint64_t i = 0; i < image.pixels.size(); ++i) {
                    if (type == sample_type::floating) image.pixels[i] &= 0x3B; // no infinity, no NaN
                    if (type == sample_type::signed_integer)
                        image.pixels[i] |= 1; // -128 means the same as -127
                }
                picture.images = {image};
                renew(GL_TEXTURE_2D);
                picture.upload();
                take_err();
                while (glGetError() != GL_NO_ERROR) {
                }
                const bool whole =
                    bits == bits_class::bits_8 || bits == bits_class::bits_16 ||
                    bits == bits_class::bits_32 ||
                    (bits >= bits_class::packed_3_3_2 && bits <= bits_class::packed_2_10_10_10);
                if (!whole || level_parameter(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH) != 5) continue;
                const auto back =
                    level_pixels(GL_TEXTURE_2D, 0, how.format, how.type, bits_per_pixel(descriptor) / 8);
                if (glGetError() != GL_NO_ERROR || back != packed_rows(image)) continue;
                std::ostringstream key;
                key << format << '/' << type << '/' << bits;
                exact.insert(key.str());
            }
        }
    }
    // Format, type and bits class of what every picture reader, processing step and texture artist relies on:
    // luminance, with and without alpha, alpha, RGB, RGBA, BGR and BGRA of 8 and 16 bits, half and single
    // floats; signed normals; whole pixels of 3-3-2, 1-5-5-5 and 2-10-10-10 bits.
    for (const char* needed :
         {"0/1/3",  "0/1/5",  "0/2/5",  "0/2/7",  "1/1/3",  "1/1/5",  "1/2/5", "1/2/7",  "6/1/3",  "6/1/5",
          "6/2/5",  "6/2/7",  "8/0/3",  "8/0/5",  "8/1/3",  "8/1/5",  "8/1/9", "8/2/5",  "8/2/7",  "9/0/3",
          "9/0/5",  "9/1/3",  "9/1/5",  "9/1/11", "9/1/12", "9/2/5",  "9/2/7", "10/0/3", "10/1/3", "10/1/5",
          "10/2/7", "11/0/3", "11/1/3", "11/1/5", "11/2/7", "14/1/3", "15/1/3"}) {
        EXPECT_TRUE(exact.contains(needed)) << needed;
    }
}

TEST_F(Upload, SignedNormalsKeepTheirSign) {
    grTexture2D picture;
    picture.images = {patterned(2, 1, {pixel_format::rgb, sample_type::signed_integer, bits_class::bits_8})};
    const signed char normals[] = {-127, 64, 127, 0, -1, 100};
    std::memcpy(picture.images[0].pixels.data(), normals, sizeof normals);
    for (const bool mipmaps : {false, true}) {
        renew(GL_TEXTURE_2D);
        picture.generate_mipmaps = mipmaps;
        picture.upload();
        float back[6] = {};
        glGetTexImage(GL_TEXTURE_2D, 0, GL_RGB, GL_FLOAT, back);
        for (int i = 0; i < 6; ++i)
            EXPECT_FLOAT_EQ(back[i], normals[i] / 127.0f) << i;
        if (mipmaps) {
            float mean[3] = {};
            glGetTexImage(GL_TEXTURE_2D, 1, GL_RGB, GL_FLOAT, mean);
            EXPECT_NEAR(mean[0], -0.5f, 0.01f) << "negative also in the smaller levels";
        }
    }
}

TEST_F(Upload, LevelsFacesAndSlices) {
    grTexture2D levels;
    levels.images = {patterned(4, 4, rgba8), patterned(2, 2, rgba8), patterned(1, 1, rgba8)};
    bind(GL_TEXTURE_2D);
    levels.upload();
    for (GLint level = 0; level < 3; ++level) {
        EXPECT_EQ(level_pixels(GL_TEXTURE_2D, level), packed_rows(levels.images[std::size_t(level)]))
            << level;
    }

    grTextureCubeMap cube;
    for (std::uint32_t face = 0; face < 7; ++face) {
        cube.images.push_back(patterned(4, 4, rgba8));
        cube.images.back().pixels[0] = static_cast<unsigned char>(face);
    }
    renew(GL_TEXTURE_CUBE_MAP);
    cube.upload();
    for (unsigned face = 0; face < 6; ++face) {
        EXPECT_EQ(level_pixels(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, 0), packed_rows(cube.images[face]))
            << face;
    }

    grTexture1D line;
    image1d row;
    row.descriptor = rgba8;
    row.width = 8;
    ASSERT_TRUE(row.allocate());
    for (unsigned i = 0; i < 32; ++i)
        row.pixels[i] = static_cast<unsigned char>(i * 7);
    line.images = {row};
    renew(GL_TEXTURE_1D);
    line.upload();
    const auto line_back = level_pixels(GL_TEXTURE_1D, 0);
    EXPECT_EQ(std::memcmp(line_back.data(), row.pixels.data(), 32), 0);

    // Slices with rows that must be skipped, each row padded to 4 bytes.
    grTexture3D block;
    image3d volume;
    volume.descriptor = rgb8;
    volume.width = 3, volume.height = 2, volume.depth = 2;
    volume.skip_rows = 1;
    ASSERT_TRUE(volume.allocate());
    for (std::uint64_t i = 0; i < volume.pixels.size(); ++i)
        volume.pixels[i] = static_cast<unsigned char>(i);
    block.images = {volume};
    for (const bool mipmaps : {false, true}) {
        block.generate_mipmaps = mipmaps;
        renew(GL_TEXTURE_3D);
        block.upload();
        const auto back = level_pixels(GL_TEXTURE_3D, 0, GL_RGB, GL_UNSIGNED_BYTE, 3);
        std::vector<unsigned char> expected;
        for (std::uint32_t z = 0; z < 2; ++z) {
            for (std::uint32_t y = 0; y < 2; ++y) {
                expected.insert(expected.end(), volume.pixel(0, y, z), volume.pixel(0, y, z) + 9);
            }
        }
        EXPECT_EQ(back, expected);
        EXPECT_EQ(level_parameter(GL_TEXTURE_3D, 1, GL_TEXTURE_WIDTH), mipmaps ? 1 : 0);
    }
}

TEST_F(Upload, PixelStoreIsAppliedAndPutBack) {
    grTexture2D picture;
    image2d image;
    image.descriptor = {pixel_format::luminance, sample_type::unsigned_integer, bits_class::bits_16};
    image.store = std::make_shared<pixel_store>(pixel_store{.swap_bytes = 1, .alignment = 1});
    image.row_length = 5, image.skip_pixels = 1, image.skip_rows = 2;
    image.width = 3, image.height = 2;
    ASSERT_TRUE(image.allocate());
    for (std::uint32_t y = 0; y < 2; ++y) {
        for (std::uint32_t x = 0; x < 3; ++x) {
            image.pixel(x, y)[0] = static_cast<unsigned char>(10 * y + x); // high byte first
            image.pixel(x, y)[1] = 0x80;
        }
    }
    picture.images = {image};
    bind(GL_TEXTURE_2D);
    picture.upload();
    std::uint16_t back[8] = {}; // rows padded to 4 bytes
    glGetTexImage(GL_TEXTURE_2D, 0, GL_LUMINANCE, GL_UNSIGNED_SHORT, back);
    for (unsigned y = 0; y < 2; ++y) {
        for (unsigned x = 0; x < 3; ++x)
            EXPECT_EQ(back[y * 4 + x], ((10 * y + x) << 8) + 0x80);
    }
    const struct {
        GLenum what;
        GLint value;
    } defaults[] = {{GL_UNPACK_SWAP_BYTES, 0},  {GL_UNPACK_ALIGNMENT, 4}, {GL_UNPACK_ROW_LENGTH, 0},
                    {GL_UNPACK_SKIP_PIXELS, 0}, {GL_UNPACK_SKIP_ROWS, 0}, {GL_UNPACK_IMAGE_HEIGHT, 0}};
    for (const auto& one : defaults) {
        GLint value = -1;
        glGetIntegerv(one.what, &value);
        EXPECT_EQ(value, one.value) << one.what;
    }
}

TEST_F(Upload, MipmapsThroughEachRoute) {
    // The texture's own building keeps any size; the utility library makes powers of two.
    const struct {
        const char* name;
        pixel_descriptor descriptor;
        bool extension;
        GLint width, next;
    } cases[] = {
        {"by itself", rgba8, true, 6, 3},
        {"by the library", rgba8, false, 8, 4},
        {"grey", grey8, true, 8, 4},
        // Which the utility library does not know.
        {"half floats", {pixel_format::rgb, sample_type::floating, bits_class::bits_16}, true, 6, 3}};
    for (const auto& one : cases) {
        SCOPED_TRACE(one.name);
        const GLboolean extension = __GLEW_SGIS_generate_mipmap;
        if (one.extension && !extension) continue;
        __GLEW_SGIS_generate_mipmap = one.extension;
        grTexture2D picture;
        picture.generate_mipmaps = true;
        picture.images = {patterned(6, 6, one.descriptor)};
        renew(GL_TEXTURE_2D);
        picture.upload();
        __GLEW_SGIS_generate_mipmap = extension;
        EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH), one.width);
        EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 1, GL_TEXTURE_WIDTH), one.next);
        EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 2, GL_TEXTURE_WIDTH), one.next / 2);
        GLint generate = -1;
        glGetTexParameteriv(GL_TEXTURE_2D, GL_GENERATE_MIPMAP, &generate);
        EXPECT_EQ(generate, GL_FALSE);
    }
    // A cube map is built with its last face, and without anybody to build it has one level.
    for (const bool by_gl : {true, false}) {
        const auto builder = __glewGenerateMipmap;
        if (!by_gl) __glewGenerateMipmap = nullptr;
        grTextureCubeMap cube;
        cube.generate_mipmaps = true;
        cube.images.assign(6,
                           patterned(4, 4, {pixel_format::rgba, sample_type::floating, bits_class::bits_16}));
        renew(GL_TEXTURE_CUBE_MAP);
        cube.upload();
        __glewGenerateMipmap = builder;
        EXPECT_EQ(level_parameter(GL_TEXTURE_CUBE_MAP_NEGATIVE_Z, 2, GL_TEXTURE_WIDTH), by_gl ? 1 : 0);
        GLint last = -1;
        glGetTexParameteriv(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MAX_LEVEL, &last);
        EXPECT_EQ(last == 0, !by_gl);
    }

    // A level is the mean of four texels of the one above; a further picture replaces its level.
    grTexture2D picture;
    picture.generate_mipmaps = true;
    picture.images = {patterned(4, 4, rgba8), patterned(2, 2, grey8)};
    renew(GL_TEXTURE_2D);
    picture.upload();
    EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 1, GL_TEXTURE_INTERNAL_FORMAT), GL_LUMINANCE8);
    picture.images.pop_back();
    renew(GL_TEXTURE_2D);
    picture.upload();
    const auto below = level_pixels(GL_TEXTURE_2D, 1);
    const image2d& top = picture.images[0];
    for (unsigned c = 0; c < 4; ++c) {
        const int sum = top.pixel(0, 0)[c] + top.pixel(1, 0)[c] + top.pixel(0, 1)[c] + top.pixel(1, 1)[c];
        EXPECT_NEAR(below[c], sum / 4.0, 1);
    }
}

TEST_F(Upload, CubeMipmapsReachEveryFace) {
    grTextureCubeMap cube;
    cube.generate_mipmaps = true;
    for (unsigned char face = 0; face < 6; ++face) {
        image2d image = patterned(8, 8, rgba8);
        std::memset(image.pixels.data(), 40 * face, image.pixels.size());
        cube.images.push_back(image);
    }
    const GLboolean extension = __GLEW_SGIS_generate_mipmap;
    for (const bool by_itself : {true, false}) {
        if (by_itself && !extension) continue;
        __GLEW_SGIS_generate_mipmap = by_itself;
        renew(GL_TEXTURE_CUBE_MAP);
        cube.upload();
        __GLEW_SGIS_generate_mipmap = extension;
        for (unsigned face = 0; face < 6; ++face) {
            EXPECT_EQ(level_pixels(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, 3),
                      std::vector<unsigned char>(4, 40 * face))
                << face;
        }
    }
}

TEST_F(Upload, AllocationWidthPadsTheLevel) {
    grTexture2D picture;
    picture.images = {patterned(3, 2, rgba8)};
    picture.allocation_width = 10;
    bind(GL_TEXTURE_2D);
    picture.upload();
    EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH), 10);
    EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT), 2);
    const auto back = level_pixels(GL_TEXTURE_2D, 0);
    EXPECT_EQ(std::memcmp(back.data(), picture.images[0].row(0), 12), 0);
    EXPECT_EQ(std::memcmp(back.data() + 40, picture.images[0].row(1), 12), 0);

    if (!GLEW_SGIS_generate_mipmap) GTEST_SKIP() << "needs GL_SGIS_generate_mipmap";
    picture.generate_mipmaps = true;
    renew(GL_TEXTURE_2D);
    picture.upload();
    EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH), 16);
    EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT), 2);
    picture.images = {patterned(20, 3, rgba8)};
    renew(GL_TEXTURE_2D);
    picture.upload();
    EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH), 32) << "wider than asked";
    EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT), 4);
}

TEST_F(Upload, BorderTexelsBelongToThePicture) {
    grTexture2D picture;
    picture.border = 1;
    picture.images = {patterned(6, 6, rgba8)}; // 4 by 4 and a texel around it
    bind(GL_TEXTURE_2D);
    picture.upload();
    const GLint width = level_parameter(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH);
    const GLint border = level_parameter(GL_TEXTURE_2D, 0, GL_TEXTURE_BORDER);
    EXPECT_EQ(width - 2 * border, 4) << "with or without a border of its own, what lies inside is the same";
    const auto back = level_pixels(GL_TEXTURE_2D, 0);
    EXPECT_EQ(back[std::size_t(border * width + border) * 4], picture.images[0].pixel(1, 1)[0]);
}

TEST_F(Upload, ColourNumbersGoThroughTheirTable) {
    grTexture2D picture;
    image2d image =
        patterned(4, 2, {pixel_format::color_index, sample_type::unsigned_integer, bits_class::bits_8});
    ASSERT_TRUE(image.colors.allocate(3)); // no power of two
    image.colors.set(0, 10, 20, 30);
    image.colors.set(1, 255, 128, 0);
    image.colors.set(2, 1, 2, 3);
    const unsigned char numbers[] = {0, 1, 2, 0, 2, 1, 0, 1};
    std::memcpy(image.pixels.data(), numbers, sizeof numbers);
    picture.images = {image};
    bind(GL_TEXTURE_2D);
    picture.upload();
    const auto back = level_pixels(GL_TEXTURE_2D, 0, GL_RGB, GL_UNSIGNED_BYTE, 3);
    const unsigned char colors[3][3] = {{10, 20, 30}, {255, 128, 0}, {1, 2, 3}};
    for (unsigned i = 0; i < 8; ++i) {
        for (unsigned c = 0; c < 3; ++c)
            EXPECT_EQ(back[i * 3 + c], colors[numbers[i]][c]) << i;
    }
    GLboolean mapping = GL_TRUE;
    glGetBooleanv(GL_MAP_COLOR, &mapping);
    EXPECT_FALSE(mapping);
}

TEST_F(Upload, ReuploadWritesIntoTheStorage) {
    grTexture2D picture;
    picture.generate_mipmaps = true;
    picture.images = {patterned(4, 4, rgba8)};
    bind(GL_TEXTURE_2D);
    picture.upload();
    std::memset(picture.images[0].pixels.data(), 200, picture.images[0].pixels.size());
    picture.reupload();
    EXPECT_EQ(level_pixels(GL_TEXTURE_2D, 0), std::vector<unsigned char>(64, 200));
    EXPECT_EQ(level_pixels(GL_TEXTURE_2D, 2), std::vector<unsigned char>(4, 200))
        << "and the smaller levels follow";

    grTextureCubeMap cube;
    cube.images.assign(6, patterned(2, 2, rgba8));
    renew(GL_TEXTURE_CUBE_MAP);
    cube.upload();
    cube.images[5] = patterned(2, 2, rgba8);
    std::memset(cube.images[5].pixels.data(), 9, 16);
    cube.reupload();
    EXPECT_EQ(level_pixels(GL_TEXTURE_CUBE_MAP_NEGATIVE_Z, 0), std::vector<unsigned char>(16, 9));
}

// Every call is made to fail, so that the step after it shows.
TEST_F(Upload, StepsAreLabelled) {
    grTexture2D picture;
    picture.images = {patterned(2, 2, rgba8)};
    bind(GL_TEXTURE_2D);
    glEnable(0xFFFF);
    picture.upload();
    EXPECT_EQ(step_labels(), "before-teximage2d(not-mipmap)\n");
    picture.border = 7; // refused
    picture.upload();
    EXPECT_EQ(step_labels(), "after-teximage2d(not-mipmap)\n");
    picture.border = 0;
    glEnable(0xFFFF);
    picture.reupload();
    EXPECT_EQ(step_labels(), "before-tex-sub-image2d\n");
    picture.images = {patterned(5, 5, rgba8)}; // larger than the storage
    picture.reupload();
    EXPECT_EQ(step_labels(), "after-tex-sub-image2d\n");

    if (!GLEW_SGIS_generate_mipmap) GTEST_SKIP() << "needs GL_SGIS_generate_mipmap";
    grTextureCubeMap cube;
    cube.generate_mipmaps = true;
    cube.images = {patterned(2, 2, rgba8)};
    // Bound to nothing of the kind: what concerns the parameter can only be seen from outside.
    renew(GL_TEXTURE_CUBE_MAP);
    glEnable(0xFFFF);
    cube.upload();
    EXPECT_EQ(step_labels(), "after-texparameter_cubemap-sgis-true\n");
    cube.border = 7;
    cube.upload();
    EXPECT_EQ(step_labels(), "after-generate_mipmap\n");
    cube.border = 0;
    const GLboolean extension = __GLEW_SGIS_generate_mipmap;
    __GLEW_SGIS_generate_mipmap = GL_FALSE;
    glEnable(0xFFFF);
    cube.upload();
    __GLEW_SGIS_generate_mipmap = extension;
    EXPECT_EQ(step_labels(), "after-unpack_window_subset\n");
}

TEST_F(Upload, CompressedPictures) {
    image2d image = patterned(4, 4, rgb8);
    image.compressed = 1;
    grTexture2D picture;
    picture.images = {image};
    bind(GL_TEXTURE_2D);
    const GLboolean extension = __GLEW_ARB_texture_compression;
    __GLEW_ARB_texture_compression = GL_FALSE;
    picture.upload();
    EXPECT_EQ(take_err(),
              "error, ARB_texture_compression unsupported when compressed image loading, skip.\n");
    __GLEW_ARB_texture_compression = extension;
    {
        // The table knows no compressed format of a size, so the GL refuses the call; that it is made is what
        // counts.
        const watched<&__glewCompressedTexImage2D> compressed(false);
        picture.upload();
        EXPECT_EQ(compressed.calls(), 1);
        EXPECT_NE(glGetError(), GLenum(GL_NO_ERROR));
        picture.images[0].descriptor.format =
            pixel_format::luminance_alpha; // not one that builds its own mipmaps
        picture.generate_mipmaps = true;
        picture.upload();
        EXPECT_EQ(compressed.calls(), 2);
        EXPECT_EQ(take_err(), "Compressed 'special format' image is ablen't to build mipmaps, fallback.\n");
        EXPECT_NE(glGetError(), GLenum(GL_NO_ERROR));
    }
    grTexture3D block;
    image3d volume;
    volume.descriptor = {pixel_format::luminance_alpha, sample_type::unsigned_integer, bits_class::bits_8};
    volume.width = volume.height = volume.depth = 2;
    volume.compressed = 1;
    ASSERT_TRUE(volume.allocate());
    block.images = {volume};
    block.generate_mipmaps = true;
    renew(GL_TEXTURE_3D);
    block.upload();
    EXPECT_EQ(take_err(), "Compressed image are can't build mipmaps in this environment.\n");
    EXPECT_NE(glGetError(), GLenum(GL_NO_ERROR));

    // An ordinary picture that the GL may keep compressed.
    grTexture2D asked;
    asked.images = {patterned(8, 8, rgba8)};
    asked.compress = asked.generate_mipmaps = true;
    EXPECT_EQ(asked.internal_format(), unsigned(GL_COMPRESSED_RGBA));
    renew(GL_TEXTURE_2D);
    asked.upload();
    EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 1, GL_TEXTURE_WIDTH), 4);
}

TEST_F(Upload, PicturesThatCannotBeTakenAreSkipped) {
    grTexture2D picture;
    EXPECT_EQ(picture.internal_format(), 1281u);
    bind(GL_TEXTURE_2D);
    picture.upload(); // no picture at all
    picture.reupload();
    picture.images = {
        patterned(2, 2, {pixel_format::red_green, sample_type::unsigned_integer, bits_class::bits_8}),
        patterned(1, 1, rgba8)};
    picture.upload();
    EXPECT_EQ(take_err(), "Not supported image format! imgformat:7 imgtype:1 imgbits:3\n");
    EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH), 0);
    EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 1, GL_TEXTURE_WIDTH), 1)
        << "the next level goes in all the same";
    EXPECT_EQ(picture.internal_format(), 1281u);
    take_err();

    // Intensity is none of the formats that pixels can have.
    picture.images = {
        patterned(4, 4, {pixel_format::intensity, sample_type::unsigned_integer, bits_class::bits_8})};
    picture.generate_mipmaps = true;
    picture.upload();
    picture.generate_mipmaps = false;
    const std::string intensity = take_err();
    EXPECT_TRUE(intensity.starts_with("after-teximage2d(not-mipmap): Error 1280: ")) << intensity;
    EXPECT_TRUE(intensity.ends_with("\nerror, mipmaps cannot be built: invalid enumerant.\n")) << intensity;

    // Fewer bytes than the size says.
    image2d cut = patterned(4, 4, rgba8);
    cut.height = 5;
    picture.images = {cut};
    renew(GL_TEXTURE_2D);
    picture.upload();
    EXPECT_EQ(take_err(), "error, image has fewer bytes than its size needs, skip.\n");
    EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH), 0);

    // Samples of 4 bits are spread to 8.
    image2d narrow =
        patterned(2, 1, {pixel_format::luminance, sample_type::unsigned_integer, bits_class::bits_4});
    narrow.pixels[0] = 0xF3;
    picture.images = {narrow};
    picture.upload();
    const auto back = level_pixels(GL_TEXTURE_2D, 0, GL_RED, GL_UNSIGNED_BYTE, 1);
    EXPECT_NEAR(back[0], 255, 16);
    EXPECT_NEAR(back[1], 3 * 17, 16);
    // Others are left out.
    image1d twelve;
    twelve.descriptor = {pixel_format::rgb, sample_type::unsigned_integer, bits_class::bits_12};
    twelve.width = 4;
    ASSERT_TRUE(twelve.allocate());
    grTexture1D line;
    line.images = {twelve};
    renew(GL_TEXTURE_1D);
    line.upload();
    EXPECT_EQ(take_err(), "error, image samples are of a width that OpenGL does not read, skip.\n");
}

TEST_F(Upload, PicturesTooLargeForTheGLAreScaledDown) {
    GLint most = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &most);
    grTexture2D picture;
    picture.images = {patterned(std::uint32_t(most) * 2, 4, grey8)};
    bind(GL_TEXTURE_2D);
    picture.upload();
    EXPECT_EQ(take_err(),
              "real_max: " + std::to_string(most) + "\nm_width: " + std::to_string(most) +
                  "\nm_height: 2\ninternalformat: 32832\nm_border: 0\nformat: 6409\ntype: 5121\n");
    EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH), most);
    EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT), 2);
    EXPECT_EQ(picture.images[0].width, std::uint32_t(most) * 2) << "the picture itself stays";
}

} // namespace
