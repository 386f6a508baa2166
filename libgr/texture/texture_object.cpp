#include "libgr/texture/texture_object.h"

#include "libgr/image/image.h"
#include "libutils/report.h"
#include "render/gl/step_check.h"

#include <GL/glew.h>

#include <algorithm>

namespace libgr {

using render::has_context;
using render::no_object;
using render::step_check;

static_assert(GLenum(image_access::read_only) == GL_READ_ONLY &&
              GLenum(image_access::write_only) == GL_WRITE_ONLY &&
              GLenum(image_access::read_write) == GL_READ_WRITE);

render::gl_enum target_of_kind(std::uint32_t kind) {
    constexpr GLenum targets[] = {no_object, GL_TEXTURE_1D, GL_TEXTURE_2D,      GL_TEXTURE_3D,
                                  no_object, no_object,     GL_TEXTURE_CUBE_MAP};
    return kind < std::size(targets) ? targets[kind] : no_object;
}

std::uint32_t kind_of_target(render::gl_enum target) {
    switch (target) {
    case GL_TEXTURE_1D:
        return texture_kind::one_dimensional;
    case GL_TEXTURE_2D:
        return texture_kind::two_dimensional;
    case GL_TEXTURE_3D:
        return texture_kind::three_dimensional;
    case GL_TEXTURE_CUBE_MAP:
        return texture_kind::cube_map;
    default:
        return texture_kind::none;
    }
}

grTextureObject::name_record::~name_record() {
    if (created && has_context()) glDeleteTextures(1, &name);
}

render::gl_uint grTextureObject::id() const {
    return record_ && record_->created ? record_->name : no_object;
}

void grTextureObject::Load() {
    if (!record_ || !has_context()) return;
    step_check("grTextureObject::Load(0)");
    if (!GLEW_VERSION_3_0) {
        glEnable(target_);
        step_check("grTextureObject::Load(1)");
    }
    glBindTexture(target_, id());
    step_check("grTextureObject::Load(2)");
}

void grTextureObject::refresh() {
    if (!images_ || !has_context()) return;
    glBindTexture(target_, id());
    images_->reupload();
}

void grTextureObject::unbind() {
    if (!attached_ || !has_context()) return;
    if (!GLEW_VERSION_3_0) glDisable(target_);
    glBindTexture(target_, 0);
}

void grTextureObject::attach(grTexturableImageGL& images) {
    if (!has_context()) return;
    if (!record_) record_ = std::make_shared<name_record>();
    target_ = target_of_kind(images.kind());
    if (!record_->created) {
        glGenTextures(1, &record_->name);
        record_->created = true;
    }
    glBindTexture(target_, id());
    images.upload();
    attached_ = true;
    images_ = &images;
}

void grTextureObject::release() {
    if (attached_) *this = grTextureObject();
}

bool grTextureObject::resident() const {
    if (!has_context()) return false;
    const GLuint name = id();
    GLboolean residence = GL_FALSE;
    return glAreTexturesResident(1, &name, &residence) == GL_TRUE;
}

void grTextureObject::bind_image(render::gl_uint unit, render::gl_int level, image_access access) const {
    if (!images_ || !has_context() || !glBindImageTexture) return;
    glBindImageTexture(unit, id(), level, GL_FALSE, 0, GLenum(access), images_->internal_format());
}

void grTextureObject::unbind_image(render::gl_uint unit) {
    if (has_context() && glBindImageTexture) glBindImageTexture(unit, 0, 0, GL_FALSE, 0, GL_READ_ONLY, GL_R8);
}

namespace {

// get(parameter) is a parameter of the level; read(type, bytes, pixels) fetches its pixels as RGBA.
template <typename Get, typename Read>
bool read_back(image2d& image, const Get& get, const Read& read) {
    image = {};
    image.width = std::uint32_t(get(GL_TEXTURE_WIDTH));
    step_check("get texture level parameter (width)");
    image.height = std::uint32_t(get(GL_TEXTURE_HEIGHT));
    step_check("get texture level parameter (height)");
    // The GL would write all slices.
    if (get(GL_TEXTURE_DEPTH) > 1)
        return libutils::report("grTextureObject::GetTextureImage() has room for one picture only.");
    image.descriptor.format = pixel_format::rgba;

    GLenum type = GLenum(get(GL_TEXTURE_RED_TYPE));
    step_check("get texture level parameter (red_type)");
    switch (type) {
    case GL_INT:
        image.descriptor.type = sample_type::signed_integer;
        break;
    case GL_UNSIGNED_INT:
        image.descriptor.type = sample_type::unsigned_integer;
        break;
    case GL_FLOAT:
    case GL_SIGNED_NORMALIZED:
    case GL_UNSIGNED_NORMALIZED:
        image.descriptor.type = sample_type::floating;
        break;
    default:
        return false;
    }
    static constexpr GLint sizes[] = {1, 2, 4, 8, 12, 16, 24, 32, 64}; // by bits class
    const GLint size = get(GL_TEXTURE_RED_SIZE);
    step_check("get texture level parameter (red_size)");
    const auto* found = std::find(std::begin(sizes), std::end(sizes), size);
    if (found == std::end(sizes)) return libutils::report("red size is not recognized.");
    image.descriptor.bits = std::uint32_t(found - std::begin(sizes));
    if (!image.allocate()) return libutils::report("grTextureObject::GetTextureImage() img allocate fail.");
    if (type == GL_FLOAT && size == 16) type = GL_HALF_FLOAT;
    read(type, image.pixels.size(), image.pixels.data());
    step_check("grTextureObject::GetTextureImage()");
    return true;
}

} // namespace

bool grTextureObject::GetTextureImage(render::gl_enum target, render::gl_int level, image2d& image) {
    if (!has_context()) return false;
    return read_back(
        image,
        [&](GLenum what) {
            GLint value = 0;
            glGetTexLevelParameteriv(target, level, what, &value);
            return value;
        },
        [&](GLenum type, std::uint64_t, void* pixels) {
            glGetTexImage(target, level, GL_RGBA, type, pixels);
        });
}

bool grTextureObject::GetTextureImage(render::gl_int level, image2d& image) const {
    if (!has_context()) return false;
    if (!glGetTextureImage) return libutils::report("grTextureObject::GetTextureImage() needs OpenGL 4.5.");
    return read_back(
        image,
        [&](GLenum what) {
            GLint value = 0;
            glGetTextureLevelParameteriv(id(), level, what, &value);
            return value;
        },
        [&](GLenum type, std::uint64_t bytes, void* pixels) {
            glGetTextureImage(id(), level, GL_RGBA, type, GLsizei(bytes), pixels);
        });
}

} // namespace libgr
