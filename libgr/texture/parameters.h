#pragma once
// Sampling parameters of textures. Each setter applies its record to the texture that is bound to the target;
// it does nothing for null or without a current context.

#include "render/gl/types.h"

namespace libgr {

// Filters and wrap modes as the GL numbers them.
inline constexpr render::gl_int filter_nearest = 0x2600, filter_linear = 0x2601,
                                filter_nearest_mipmap_nearest = 0x2700, filter_linear_mipmap_linear = 0x2703;
inline constexpr render::gl_int wrap_repeat = 0x2901, wrap_clamp_to_edge = 0x812F;

struct tex_parameter_1d {
    render::gl_int min_filter = filter_linear, mag_filter = filter_linear, wrap_s = wrap_repeat;
};
struct tex_parameter_2d {
    render::gl_int min_filter = filter_linear, mag_filter = filter_linear, wrap_s = wrap_repeat,
                   wrap_t = wrap_repeat;
    float max_anisotropy = 1.0f; // handed to the GL whether or not it knows anisotropic filtering
};
struct tex_parameter_cubemap {
    render::gl_int min_filter = filter_linear, mag_filter = filter_linear;
    float max_anisotropy = 1.0f; // used where GL_EXT_texture_filter_anisotropic is there
};
struct tex_parameter_3d {
    render::gl_int min_filter = filter_linear, mag_filter = filter_linear, wrap_s = wrap_repeat,
                   wrap_t = wrap_repeat, wrap_r = wrap_repeat;
    float max_anisotropy = 1.0f; // used where GL_EXT_texture_filter_anisotropic is there
};
struct tex_border_color {
    float color[4] = {0, 0, 0, 0}; // red, green, blue, alpha
};

void grTexParameter(const tex_parameter_1d* record);
void grTexParameter(const tex_parameter_2d* record);
void grTexParameter(const tex_parameter_cubemap* record);
void grTexParameter(const tex_parameter_3d* record);
void grTexParameter(render::gl_enum target, const tex_border_color* record);

} // namespace libgr
