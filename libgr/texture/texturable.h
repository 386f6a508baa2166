#pragma once
// The roots of the texture classes, and the numbers of their kinds.

#include "render/gl/types.h"

#include <cstdint>

namespace libgr {

// A texture kind and the GL target that goes with it. Numbers without a target (4, 5 and above cube_map) have
// render::no_object (1281) in its place.
namespace texture_kind {
enum : std::uint32_t {
    none = 0,
    one_dimensional = 1,
    two_dimensional = 2,
    three_dimensional = 3,
    cube_map = 6
};
} // namespace texture_kind

render::gl_enum target_of_kind(std::uint32_t kind);
// none for every target that no kind has.
std::uint32_t kind_of_target(render::gl_enum target);

class grTexturable {
public:
    virtual std::uint32_t kind() const = 0;

protected:
    ~grTexturable() = default; // owned by what is derived from it
};

// A GL texture.
class grTexturableObject : public grTexturable {
public:
    // Makes the texture current for drawing.
    virtual void Load() = 0;
    // Uploads the pictures again, which have changed since.
    virtual void refresh() = 0;
    virtual ~grTexturableObject() = default;
    virtual bool attached() const = 0;
    virtual void unbind() = 0;
};

// Pictures that fill a texture.
class grTexturableImage : public grTexturable {
public:
    // Puts all pictures into the texture that is bound to the target of this kind.
    virtual void upload() = 0;
    // The same once more, for pictures that have changed.
    virtual void reupload() = 0;
    virtual ~grTexturableImage() = default;
};

// The same for OpenGL, with the choices that an upload makes.
class grTexturableImageGL : public grTexturableImage {
public:
    bool generate_mipmaps = false; // build the smaller levels from the first picture
    bool compress = false;         // let the GL keep the first picture compressed when mipmaps are generated
    std::uint8_t border = 0;       // texels around the picture that belong to its size: 0 or 1
    // Not 0: each level is made empty, at least so wide, and the picture is put into its lower left corner.
    std::uint32_t allocation_width = 0;

    // The internal format of the first picture; 1281 when there is none or the GL has no format for it.
    virtual render::gl_enum internal_format() const = 0;
};

} // namespace libgr
