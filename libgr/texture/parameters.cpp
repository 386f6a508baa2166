#include "libgr/texture/parameters.h"

#include "render/gl/step_check.h"

#include <GL/glew.h>

namespace libgr {

static_assert(filter_nearest == GL_NEAREST && filter_linear == GL_LINEAR &&
              filter_nearest_mipmap_nearest == GL_NEAREST_MIPMAP_NEAREST &&
              filter_linear_mipmap_linear == GL_LINEAR_MIPMAP_LINEAR && wrap_repeat == GL_REPEAT &&
              wrap_clamp_to_edge == GL_CLAMP_TO_EDGE);

namespace {

void set_anisotropy_if_known(GLenum target, float value) {
    if (GLEW_EXT_texture_filter_anisotropic) glTexParameterf(target, GL_TEXTURE_MAX_ANISOTROPY_EXT, value);
}

} // namespace

void grTexParameter(const tex_parameter_1d* record) {
    if (!record || !render::has_context()) return;
    glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_MIN_FILTER, record->min_filter);
    glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_MAG_FILTER, record->mag_filter);
    glTexParameteri(GL_TEXTURE_1D, GL_TEXTURE_WRAP_S, record->wrap_s);
}

void grTexParameter(const tex_parameter_2d* record) {
    if (!record || !render::has_context()) return;
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, record->min_filter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, record->mag_filter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, record->wrap_s);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, record->wrap_t);
    glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MAX_ANISOTROPY_EXT, record->max_anisotropy);
}

void grTexParameter(const tex_parameter_cubemap* record) {
    if (!record || !render::has_context()) return;
    render::step_check("grTexParameter(cubemap) start");
    glTexParameteri(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MIN_FILTER, record->min_filter);
    glTexParameteri(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MAG_FILTER, record->mag_filter);
    set_anisotropy_if_known(GL_TEXTURE_CUBE_MAP, record->max_anisotropy);
    render::step_check("grTexParameter(cubemap) end");
}

void grTexParameter(const tex_parameter_3d* record) {
    if (!record || !render::has_context()) return;
    glTexParameteri(GL_TEXTURE_3D, GL_TEXTURE_MIN_FILTER, record->min_filter);
    glTexParameteri(GL_TEXTURE_3D, GL_TEXTURE_MAG_FILTER, record->mag_filter);
    glTexParameteri(GL_TEXTURE_3D, GL_TEXTURE_WRAP_S, record->wrap_s);
    glTexParameteri(GL_TEXTURE_3D, GL_TEXTURE_WRAP_T, record->wrap_t);
    glTexParameteri(GL_TEXTURE_3D, GL_TEXTURE_WRAP_R, record->wrap_r);
    set_anisotropy_if_known(GL_TEXTURE_3D, record->max_anisotropy);
}

void grTexParameter(render::gl_enum target, const tex_border_color* record) {
    if (!record || !render::has_context()) return;
    glTexParameterfv(target, GL_TEXTURE_BORDER_COLOR, record->color);
}

} // namespace libgr
