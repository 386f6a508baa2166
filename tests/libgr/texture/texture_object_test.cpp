// Texture objects: names, sharing, binding, reading back; and the parameter setters.

#include "libgr/texture/texture_object.h"

#include "libgr/texture/parameters.h"
#include "libgr/texture/texture_image.h"
#include "textures.h"

namespace {

using namespace libgr;
using namespace libgr::kinds;
using namespace test_support;

class TextureObject : public gl_test {
protected:
    // Attaches a picture.
    grTextureObject& with(const image2d& image) {
        picture.images = {image};
        object.attach(picture);
        return object;
    }
    grTexture2D picture;
    grTextureObject object;
};

TEST_F(TextureObject, KindsAndTargets) {
    const std::uint32_t targets[] = {1281, GL_TEXTURE_1D, GL_TEXTURE_2D,       GL_TEXTURE_3D,
                                     1281, 1281,          GL_TEXTURE_CUBE_MAP, 1281};
    for (std::uint32_t kind = 0; kind < std::size(targets); ++kind) {
        EXPECT_EQ(target_of_kind(kind), targets[kind]) << kind;
        EXPECT_EQ(kind_of_target(targets[kind]), targets[kind] == 1281 ? 0 : kind);
    }
}

TEST_F(TextureObject, BindsAndUnbinds) {
    object.Load(); // nothing to bind
    object.unbind();
    EXPECT_EQ(object.id(), 1281u);
    EXPECT_EQ(object.target(), 1281u);

    grTextureRectangle rectangle;
    rectangle.images = {patterned(3, 5, rgba8)};
    object.attach(rectangle);
    EXPECT_EQ(object.kind(), 2u);
    EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 0), 3);
    object.unbind();
    EXPECT_EQ(state(GL_TEXTURE_BINDING_2D), 0);
    object.Load();
    EXPECT_EQ(state(GL_TEXTURE_BINDING_2D), GLint(object.id()));
    EXPECT_TRUE(object.resident());

    // A larger picture comes into the same texture.
    const GLuint name = object.id();
    rectangle.images = {patterned(8, 2, rgba8)};
    object.unbind();
    object.refresh();
    EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 0), 8);
    EXPECT_EQ(object.id(), name);
    object.unbind();
}

TEST_F(TextureObject, CopiesShareAndTheLastDeletes) {
    const GLuint name = with(patterned(2, 2, rgba8)).id();
    grTextureObject second = object;
    object.release();
    EXPECT_EQ(object.id(), 1281u);
    EXPECT_EQ(second.id(), name);
    EXPECT_TRUE(glIsTexture(name));
    second.release();
    EXPECT_FALSE(glIsTexture(name));
}

TEST_F(TextureObject, NothingHappensWithoutAContext) {
    picture.images = {patterned(2, 2, rgba8)};
    const without_context none;
    object.attach(picture);
    EXPECT_FALSE(object.attached()) << "a later attach with a context has everything to do";
    object.Load();
    object.refresh();
    image2d image;
    EXPECT_FALSE(object.GetTextureImage(0, image));
    EXPECT_FALSE(grTextureObject::GetTextureImage(GL_TEXTURE_2D, 0, image));
    EXPECT_FALSE(object.resident());
    picture.upload();
    EXPECT_EQ(picture.internal_format(), unsigned(GL_RGBA8)) << "needs no context";
}

TEST_F(TextureObject, ReadsFloatTexturesBack) {
    for (const std::uint32_t bits : {bits_class::bits_32, bits_class::bits_16}) {
        const image2d source = patterned(3, 2, {pixel_format::rgba, sample_type::floating, bits}, 0x35);
        with(source);
        image2d bound, direct;
        EXPECT_TRUE(grTextureObject::GetTextureImage(GL_TEXTURE_2D, 0, bound));
        object.unbind();
        if (glGetTextureImage) {
            EXPECT_TRUE(object.GetTextureImage(0, direct));
        } else {
            EXPECT_FALSE(object.GetTextureImage(0, direct));
            EXPECT_EQ(take_err(), "grTextureObject::GetTextureImage() needs OpenGL 4.5.\n");
            direct = bound;
        }
        for (const image2d* read : {&bound, &direct}) {
            EXPECT_EQ(read->descriptor, source.descriptor);
            EXPECT_EQ(read->width, 3u);
            EXPECT_EQ(read->height, 2u);
            EXPECT_EQ(packed_rows(*read), packed_rows(source));
        }
    }
}

TEST_F(TextureObject, WhatDoesNotComeBack) {
    // The type asked for is none that pixels can have: the GL says so, and the record stays black.
    with(patterned(2, 2, rgba8));
    image2d image;
    EXPECT_TRUE(grTextureObject::GetTextureImage(GL_TEXTURE_2D, 0, image));
    EXPECT_EQ(step_labels(), "grTextureObject::GetTextureImage()\n");
    EXPECT_EQ(image.pixels[0], 0);

    EXPECT_FALSE(grTextureObject::GetTextureImage(GL_TEXTURE_2D, 7, image)) << "no level there";
    EXPECT_EQ(take_err(), "");
    glTexImage2D(GL_TEXTURE_2D, 0, GL_R11F_G11F_B10F, 2, 2, 0, GL_RGB, GL_FLOAT, nullptr);
    EXPECT_FALSE(grTextureObject::GetTextureImage(GL_TEXTURE_2D, 0, image));
    EXPECT_EQ(take_err(), "red size is not recognized.\n");
    GLuint solid = 0;
    glGenTextures(1, &solid);
    glBindTexture(GL_TEXTURE_3D, solid);
    glTexImage3D(GL_TEXTURE_3D, 0, GL_RGBA32F, 2, 2, 2, 0, GL_RGBA, GL_FLOAT, nullptr);
    EXPECT_FALSE(grTextureObject::GetTextureImage(GL_TEXTURE_3D, 0, image)) << "more than one picture";
    EXPECT_EQ(take_err(), "grTextureObject::GetTextureImage() has room for one picture only.\n");
    glDeleteTextures(1, &solid);
}

TEST_F(TextureObject, BindsAsImageUnit) {
    if (!GLEW_VERSION_4_2) GTEST_SKIP() << "needs OpenGL 4.2";
    const auto unit = [](GLenum what) {
        GLint value = -1;
        glGetIntegeri_v(what, 1, &value);
        return value;
    };
    const std::pair<pixel_descriptor, GLint> cases[] = {
        {{pixel_format::rgba, sample_type::signed_integer, bits_class::bits_8}, GL_RGBA8_SNORM},
        {{pixel_format::rgba, sample_type::signed_integer, bits_class::bits_16}, GL_RGBA16_SNORM},
        {rgba8, GL_RGBA8}};
    for (const auto& [descriptor, format] : cases) {
        with(patterned(2, 2, descriptor)).bind_image(1, 0, image_access::write_only);
        EXPECT_EQ(unit(GL_IMAGE_BINDING_NAME), GLint(object.id()));
        EXPECT_EQ(unit(GL_IMAGE_BINDING_ACCESS), GL_WRITE_ONLY);
        EXPECT_EQ(unit(GL_IMAGE_BINDING_LAYERED), GL_FALSE);
        EXPECT_EQ(unit(GL_IMAGE_BINDING_FORMAT), format);
    }
    grTextureObject::unbind_image(1);
    EXPECT_EQ(unit(GL_IMAGE_BINDING_NAME), 0);
    object.unbind();
}

TEST_F(TextureObject, Parameters) {
    constexpr GLenum targets[] = {GL_TEXTURE_1D, GL_TEXTURE_2D, GL_TEXTURE_3D, GL_TEXTURE_CUBE_MAP};
    GLuint names[4] = {};
    glGenTextures(4, names);
    for (int i = 0; i < 4; ++i)
        glBindTexture(targets[i], names[i]);
    const auto set = [](float anisotropy) {
        const tex_parameter_1d one = {filter_nearest_mipmap_nearest, filter_nearest, wrap_clamp_to_edge};
        const tex_parameter_2d two = {filter_linear_mipmap_linear, filter_nearest, wrap_clamp_to_edge,
                                      wrap_repeat, anisotropy};
        const tex_parameter_3d three = {filter_nearest,     filter_linear,      wrap_repeat,
                                        wrap_clamp_to_edge, wrap_clamp_to_edge, anisotropy};
        const tex_parameter_cubemap cube = {filter_nearest, filter_linear, anisotropy};
        grTexParameter(&one);
        grTexParameter(&two);
        grTexParameter(&three);
        grTexParameter(&cube);
    };
    set(4);
    grTexParameter(static_cast<const tex_parameter_2d*>(nullptr));
    constexpr GLenum what[] = {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER, GL_TEXTURE_WRAP_S,
                               GL_TEXTURE_WRAP_T, GL_TEXTURE_WRAP_R};
    const std::vector<GLint> expected[] = {
        {GL_NEAREST_MIPMAP_NEAREST, GL_NEAREST, GL_CLAMP_TO_EDGE},
        {GL_LINEAR_MIPMAP_LINEAR, GL_NEAREST, GL_CLAMP_TO_EDGE, GL_REPEAT},
        {GL_NEAREST, GL_LINEAR, GL_REPEAT, GL_CLAMP_TO_EDGE, GL_CLAMP_TO_EDGE},
        {GL_NEAREST, GL_LINEAR}};
    for (std::size_t i = 0; i < 4; ++i)
        for (std::size_t k = 0; k < expected[i].size(); ++k)
            EXPECT_EQ(texture_parameter(targets[i], what[k]), expected[i][k]) << i << ' ' << k;
    if (GLEW_EXT_texture_filter_anisotropic) {
        // Only the flat texture is given it where the extension is missing.
        __GLEW_EXT_texture_filter_anisotropic = GL_FALSE;
        set(16);
        __GLEW_EXT_texture_filter_anisotropic = GL_TRUE;
        for (std::size_t i = 1; i < 4; ++i)
            EXPECT_EQ(texture_parameter(targets[i], GL_TEXTURE_MAX_ANISOTROPY_EXT), i == 1 ? 16 : 4);
    }
    const tex_border_color border = {{0.25f, 0.5f, 0.75f, 1}};
    grTexParameter(GL_TEXTURE_2D, &border);
    float color[4] = {};
    glGetTexParameterfv(GL_TEXTURE_2D, GL_TEXTURE_BORDER_COLOR, color);
    EXPECT_NEAR(color[2], 0.75f, 1e-3f);
    glDeleteTextures(4, names);
}

} // namespace
