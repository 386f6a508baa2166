// Texture objects: names, sharing, binding, reading back; and the parameter setters.

#include "libgr/texture/parameters.h"
#include "libgr/texture/texture_image.h"
#include "libgr/texture/texture_object.h"
#include "textures.h"

#include <cstring>
#include <optional>

namespace {

using namespace libgr;
using namespace test_support;

class TextureObject : public gl_test {
protected:
    static GLint get(GLenum what) {
        GLint value = -1;
        glGetIntegerv(what, &value);
        return value;
    }
};

TEST_F(TextureObject, KindsAndTargets) {
    const std::uint32_t targets[] = {1281, GL_TEXTURE_1D, GL_TEXTURE_2D,       GL_TEXTURE_3D,
                                     1281, 1281,          GL_TEXTURE_CUBE_MAP, 1281};
    for (std::uint32_t kind = 0; kind < std::size(targets); ++kind)
        EXPECT_EQ(target_of_kind(kind), targets[kind]) << kind;
    for (const std::uint32_t kind : {1u, 2u, 3u, 6u})
        EXPECT_EQ(kind_of_target(targets[kind]), kind);
    for (const GLenum target : {1281u, unsigned(GL_TEXTURE_RECTANGLE), 0u, unsigned(GL_TEXTURE_2D_ARRAY)}) {
        EXPECT_EQ(kind_of_target(target), 0u);
    }
    EXPECT_EQ(grTexture1D().kind(), 1u);
    EXPECT_EQ(grTexture2D().kind(), 2u);
    EXPECT_EQ(grTexture3D().kind(), 3u);
    EXPECT_EQ(grTextureCubeMap().kind(), 6u);
    EXPECT_EQ(grTextureRectangle().kind(), 2u) << "binds as an ordinary texture";
}

TEST_F(TextureObject, BindsAndUnbinds) {
    grTextureRectangle picture;
    picture.images = {patterned(3, 5, rgba8)};
    grTextureObject object;
    object.Load(); // nothing to bind
    object.unbind();
    EXPECT_EQ(object.kind(), 0u);
    EXPECT_EQ(object.id(), 1281u);
    EXPECT_EQ(object.target(), 1281u);

    object.attach(picture);
    EXPECT_TRUE(object.attached());
    EXPECT_EQ(object.kind(), 2u);
    EXPECT_EQ(get(GL_TEXTURE_BINDING_2D), GLint(object.id()));
    EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH), 3);
    object.unbind();
    EXPECT_EQ(get(GL_TEXTURE_BINDING_2D), 0);
    object.Load();
    EXPECT_EQ(get(GL_TEXTURE_BINDING_2D), GLint(object.id()));
    EXPECT_FALSE(glIsEnabled(GL_TEXTURE_2D)) << "shaders need no enabling";
    EXPECT_TRUE(object.resident());

    // A larger picture comes into the same texture.
    const GLuint name = object.id();
    picture.images = {patterned(8, 2, rgba8)};
    object.unbind();
    object.refresh();
    EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH), 8);
    EXPECT_EQ(object.id(), name);

    glEnable(0xFFFF);
    object.Load();
    EXPECT_TRUE(take_err().starts_with("grTextureObject::Load(0): Error 1280: "));
    object.unbind();
}

TEST_F(TextureObject, CopiesShareAndTheLastDeletes) {
    grTexture2D picture;
    picture.images = {patterned(2, 2, rgba8)};
    GLuint name = 0;
    {
        grTextureObject first;
        first.attach(picture);
        name = first.id();
        {
            const grTextureObject copy = first;
            EXPECT_EQ(copy.id(), name);
        }
        EXPECT_TRUE(glIsTexture(name));
        grTextureObject second = first;
        first.release();
        EXPECT_FALSE(first.attached());
        EXPECT_EQ(first.id(), 1281u);
        EXPECT_EQ(first.target(), 1281u);
        EXPECT_TRUE(glIsTexture(name));
        first.release();
        second.unbind();
    }
    EXPECT_FALSE(glIsTexture(name));
}

TEST_F(TextureObject, NothingHappensWithoutAContext) {
    grTexture2D picture;
    picture.images = {patterned(2, 2, rgba8)};
    grTextureObject made;
    made.attach(picture);
    made.unbind();
    const without_context none;
    grTextureObject object;
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
    for (const std::uint32_t bits :
         {std::uint32_t(bits_class::bits_32), std::uint32_t(bits_class::bits_16)}) {
        grTexture2D picture;
        image2d source;
        source.descriptor = {pixel_format::rgba, sample_type::floating, bits};
        source.width = 3, source.height = 2;
        ASSERT_TRUE(source.allocate());
        // 1.5 and -0.25 as half and single floats.
        const std::uint16_t halves[] = {0x3E00, 0xB400};
        const float floats[] = {1.5f, -0.25f};
        for (std::uint32_t i = 0; i < 3 * 2 * 4; ++i) {
            if (bits == bits_class::bits_16) {
                std::memcpy(source.pixels.data() + i * 2, &halves[i % 2], 2);
            } else {
                std::memcpy(source.pixels.data() + i * 4, &floats[i % 2], 4);
            }
        }
        picture.images = {source};
        grTextureObject object;
        object.attach(picture);
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
            const image2d& image = *read;
            EXPECT_EQ(image.descriptor, source.descriptor);
            EXPECT_EQ(image.width, 3u);
            EXPECT_EQ(image.height, 2u);
            ASSERT_EQ(image.pixels.size(), source.pixels.size());
            EXPECT_EQ(std::memcmp(image.pixels.data(), source.pixels.data(), source.pixels.size()), 0);
        }
    }
}

// The type that is asked for is then none that pixels can have: the GL says so, and the record stays black.
TEST_F(TextureObject, NormalisedTexturesDoNotComeBack) {
    grTexture2D picture;
    picture.images = {patterned(2, 2, rgba8)};
    grTextureObject object;
    object.attach(picture);
    image2d image;
    EXPECT_TRUE(grTextureObject::GetTextureImage(GL_TEXTURE_2D, 0, image));
    EXPECT_TRUE(take_err().starts_with("grTextureObject::GetTextureImage(): Error 1280: "));
    EXPECT_EQ(image.descriptor,
              (pixel_descriptor{pixel_format::rgba, sample_type::floating, bits_class::bits_8}));
    EXPECT_EQ(image.pixels[0], 0);

    // No red channel at all, then one of an odd size.
    object.release();
    grTextureObject other;
    EXPECT_FALSE(other.GetTextureImage(7, image));
    EXPECT_NE(take_err(), "");
    GLuint packed = 0;
    glGenTextures(1, &packed);
    glBindTexture(GL_TEXTURE_2D, packed);
    EXPECT_FALSE(grTextureObject::GetTextureImage(GL_TEXTURE_2D, 0, image)) << "no level there";
    EXPECT_EQ(take_err(), "");
    glTexImage2D(GL_TEXTURE_2D, 0, GL_R11F_G11F_B10F, 2, 2, 0, GL_RGB, GL_FLOAT, nullptr);
    EXPECT_FALSE(grTextureObject::GetTextureImage(GL_TEXTURE_2D, 0, image));
    EXPECT_EQ(take_err(), "red size is not recognized.\n");
    glDeleteTextures(1, &packed);

    grTexture3D stack;
    stack.images.resize(1);
    stack.images[0].descriptor = {pixel_format::rgba, sample_type::floating, bits_class::bits_32};
    stack.images[0].width = stack.images[0].height = stack.images[0].depth = 64;
    ASSERT_TRUE(stack.images[0].allocate());
    grTextureObject solid;
    solid.attach(stack);
    EXPECT_FALSE(grTextureObject::GetTextureImage(GL_TEXTURE_3D, 0, image)) << "more than one picture";
    EXPECT_EQ(take_err(), "grTextureObject::GetTextureImage() has room for one picture only.\n");
}

TEST_F(TextureObject, BindsAsImageUnit) {
    if (!GLEW_VERSION_4_2) GTEST_SKIP() << "needs OpenGL 4.2";
    const auto unit = [](GLenum what) {
        GLint value = -1;
        glGetIntegeri_v(what, 1, &value);
        return value;
    };
    grTextureObject object;
    using namespace bits_class;
    const struct {
        pixel_descriptor descriptor;
        GLint format;
    } cases[] = {{{pixel_format::rgba, sample_type::signed_integer, bits_8}, GL_RGBA8_SNORM},
                 {{pixel_format::rgba, sample_type::signed_integer, bits_16}, GL_RGBA16_SNORM},
                 {rgba8, GL_RGBA8}};
    for (const auto& c : cases) {
        grTexture2D picture;
        picture.images = {patterned(2, 2, c.descriptor)};
        object.attach(picture);
        object.bind_image(1, 0, image_access::write_only);
        EXPECT_EQ(unit(GL_IMAGE_BINDING_NAME), GLint(object.id()));
        EXPECT_EQ(unit(GL_IMAGE_BINDING_ACCESS), GL_WRITE_ONLY);
        EXPECT_EQ(unit(GL_IMAGE_BINDING_LAYERED), GL_FALSE);
        EXPECT_EQ(unit(GL_IMAGE_BINDING_FORMAT), c.format);
        EXPECT_EQ(level_parameter(GL_TEXTURE_2D, 0, GL_TEXTURE_INTERNAL_FORMAT), c.format);
    }
    grTextureObject::unbind_image(1);
    EXPECT_EQ(unit(GL_IMAGE_BINDING_NAME), 0);
    EXPECT_EQ(unit(GL_IMAGE_BINDING_ACCESS), GL_READ_ONLY);
    EXPECT_EQ(unit(GL_IMAGE_BINDING_FORMAT), GL_R8);
    object.unbind();
}

TEST_F(TextureObject, Parameters) {
    GLuint names[4] = {};
    glGenTextures(4, names);
    const GLenum targets[] = {GL_TEXTURE_1D, GL_TEXTURE_2D, GL_TEXTURE_3D, GL_TEXTURE_CUBE_MAP};
    for (int i = 0; i < 4; ++i)
        glBindTexture(targets[i], names[i]);
    const auto get = [](GLenum target, GLenum what) {
        GLint value = -1;
        glGetTexParameteriv(target, what, &value);
        return value;
    };
    const tex_parameter_1d one = {filter_nearest_mipmap_nearest, filter_nearest, wrap_clamp_to_edge};
    const tex_parameter_2d two = {filter_linear_mipmap_linear, filter_nearest, wrap_clamp_to_edge,
                                  wrap_repeat, 4};
    const tex_parameter_3d three = {filter_nearest,     filter_nearest,     wrap_repeat,
                                    wrap_clamp_to_edge, wrap_clamp_to_edge, 2};
    const tex_parameter_cubemap cube = {filter_nearest, filter_linear, 8};
    grTexParameter(&one);
    grTexParameter(&two);
    grTexParameter(&three);
    grTexParameter(&cube);
    grTexParameter(static_cast<const tex_parameter_2d*>(nullptr));
    const struct {
        GLenum target, what;
        GLint value;
    } expected[] = {{GL_TEXTURE_1D, GL_TEXTURE_MIN_FILTER, GL_NEAREST_MIPMAP_NEAREST},
                    {GL_TEXTURE_1D, GL_TEXTURE_MAG_FILTER, GL_NEAREST},
                    {GL_TEXTURE_1D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE},
                    {GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR},
                    {GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST},
                    {GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE},
                    {GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_REPEAT},
                    {GL_TEXTURE_3D, GL_TEXTURE_MIN_FILTER, GL_NEAREST},
                    {GL_TEXTURE_3D, GL_TEXTURE_WRAP_S, GL_REPEAT},
                    {GL_TEXTURE_3D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE},
                    {GL_TEXTURE_3D, GL_TEXTURE_WRAP_R, GL_CLAMP_TO_EDGE},
                    {GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MIN_FILTER, GL_NEAREST},
                    {GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MAG_FILTER, GL_LINEAR}};
    for (const auto& e : expected)
        EXPECT_EQ(get(e.target, e.what), e.value) << e.target << ' ' << e.what;
    if (GLEW_EXT_texture_filter_anisotropic) {
        EXPECT_EQ(get(GL_TEXTURE_2D, GL_TEXTURE_MAX_ANISOTROPY_EXT), 4);
        EXPECT_EQ(get(GL_TEXTURE_3D, GL_TEXTURE_MAX_ANISOTROPY_EXT), 2);
        EXPECT_EQ(get(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MAX_ANISOTROPY_EXT), 8);
        // Only the flat texture is given it where the extension is missing.
        __GLEW_EXT_texture_filter_anisotropic = GL_FALSE;
        const tex_parameter_2d more = {.max_anisotropy = 16};
        const tex_parameter_3d less = {.max_anisotropy = 16};
        const tex_parameter_cubemap also_less = {.max_anisotropy = 16};
        grTexParameter(&more);
        grTexParameter(&less);
        grTexParameter(&also_less);
        __GLEW_EXT_texture_filter_anisotropic = GL_TRUE;
        EXPECT_EQ(get(GL_TEXTURE_2D, GL_TEXTURE_MAX_ANISOTROPY_EXT), 16);
        EXPECT_EQ(get(GL_TEXTURE_3D, GL_TEXTURE_MAX_ANISOTROPY_EXT), 2);
        EXPECT_EQ(get(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MAX_ANISOTROPY_EXT), 8);
    }
    const tex_border_color border = {{0.25f, 0.5f, 0.75f, 1}};
    grTexParameter(GL_TEXTURE_2D, &border);
    float color[4] = {};
    glGetTexParameterfv(GL_TEXTURE_2D, GL_TEXTURE_BORDER_COLOR, color);
    EXPECT_NEAR(color[2], 0.75f, 1e-3f);

    glEnable(0xFFFF);
    grTexParameter(&cube);
    const std::string reported = take_err();
    EXPECT_TRUE(reported.starts_with("grTexParameter(cubemap) start: Error 1280: ")) << reported;
    const tex_parameter_cubemap wrong = {.min_filter = 7};
    grTexParameter(&wrong);
    EXPECT_TRUE(take_err().starts_with("grTexParameter(cubemap) end: Error 1280: "));
    glDeleteTextures(4, names);
}

} // namespace
