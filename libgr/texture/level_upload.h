#pragma once
// Uploads pictures as levels of a texture. Private to libgr/texture.

#include "libgr/texture/picture_view.h"
#include "libgr/texture/texturable.h"

namespace libgr {

// The steps that one kind of texture announces; null: not announced.
struct upload_steps {
    const char* unpack = nullptr;
    const char* before_image = nullptr; // outside the mipmap route
    const char* after_image = nullptr;
    const char* before_sub_image = nullptr;
    const char* after_sub_image = nullptr;
    const char* before_mipmaps = nullptr; // around the upload from which the texture builds them
    const char* after_mipmaps = nullptr;
    const char* switched_on = nullptr; // the texture's own building of mipmaps
    const char* switching_off = nullptr;
    const char* switched_off = nullptr;
    const char* after_builder = nullptr;      // the utility library's
    const char* compressed_mipmaps = nullptr; // message, not a step
};

// Uploads into the texture that is bound to `target` (of a cube map, into that face).
class level_upload {
public:
    level_upload(int dimensions, GLenum target, const grTexturableImageGL& choices, const upload_steps& steps)
        : dimensions_(dimensions),
          target_(target),
          choices_(choices),
          steps_(steps) {}

    // A picture as a level of its own.
    void level(const picture_view& picture, GLint number) const;
    // A picture as level 0, and the smaller levels from it. Parameters are set on parameter_target.
    void mipmaps(const picture_view& picture, GLenum parameter_target) const;
    // A picture over the storage of a level that has its size.
    void replace(const picture_view& picture, GLint number) const;

private:
    void put(const picture_view& picture, GLint level, const transfer& how, bool mipmap_route) const;
    void put_compressed(const picture_view& picture, GLint level, const transfer& how) const;
    void build(const picture_view& picture, const transfer& how, GLenum parameter_target) const;
    void build_without_utilities(const picture_view& picture, const transfer& how, GLenum parameter_target,
                                 GLint reason) const;

    // The GL's calls by dimension.
    struct extent {
        GLsizei width, height, depth;
    };
    extent allocated(const picture_view& picture, bool mipmap_route) const;
    void tex_image(GLint level, const extent& size, const transfer& how, const void* data) const;
    void tex_sub_image(GLint level, const picture_view& picture, const transfer& how) const;

    int dimensions_;
    GLenum target_;
    const grTexturableImageGL& choices_;
    const upload_steps& steps_;
};

} // namespace libgr
