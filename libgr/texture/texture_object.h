#pragma once
// One GL texture: its name, and binding it.

#include "libgr/texture/texturable.h"

#include <cstdint>
#include <memory>

namespace libgr {

struct image2d;

enum class image_access : render::gl_enum { read_only = 0x88B8, write_only = 0x88B9, read_write = 0x88BA };

// Empty until the first attach(). Copies share the GL texture; the last of them deletes it, which must happen
// while the context exists. Without a current context everything here does nothing. An object whose texture
// was never created binds the name 1281, which the GL refuses and the step check reports.
class grTextureObject : public grTexturableObject {
public:
    std::uint32_t kind() const override { return kind_of_target(target_); }
    // Binds the texture to its target on the active unit, between step checks. Before OpenGL 3.0 also enables
    // the target.
    void Load() override;
    // Binds the texture and lets the pictures last attached write themselves again.
    void refresh() override;
    bool attached() const override { return attached_; }
    // Binds texture 0 to the target, when attached. Before OpenGL 3.0 also disables the target.
    void unbind() override;

    // Takes the kind of the pictures, generates the GL texture on the first call, binds it and uploads the
    // pictures, which are remembered (not owned) for refresh(). The texture stays bound.
    void attach(grTexturableImageGL& images);
    // Gives up this object's share of the texture and becomes empty, when attached.
    void release();

    // True when the texture lies in the GL's fast memory (glAreTexturesResident).
    bool resident() const;

    // Binds one level for image load and store at an image unit, not layered, with the internal format of the
    // pictures (glBindImageTexture, OpenGL 4.2; nothing before).
    void bind_image(render::gl_uint unit, render::gl_int level, image_access access) const;
    static void unbind_image(render::gl_uint unit);

    // Reads a level of the texture bound to a target back as RGBA. The sample size is the texture's own; the
    // sample type asked for is the type of its red channel, so only float and integer textures come back: a
    // normalised texture's type is none that pixels can have, the GL reports an error, and the pixels stay
    // zero. (Half floats are asked for as such, which the record has room for.) False, with a line on
    // standard error except for an unknown type, when the level is a stack of pictures, when the channel's
    // type or size is not known, or there is no memory.
    static bool GetTextureImage(render::gl_enum target, render::gl_int level, image2d& image);
    // The same for this object's texture without binding it, never writing beyond the record (OpenGL 4.5).
    bool GetTextureImage(render::gl_int level, image2d& image) const;

    render::gl_enum target() const { return target_; } // 1281 until attached
    render::gl_uint id() const;                        // 1281 until the texture exists

private:
    struct name_record {
        render::gl_uint name = 0;
        bool created = false;
        ~name_record();
    };
    std::shared_ptr<name_record> record_;
    render::gl_enum target_ = render::no_object;
    bool attached_ = false;
    grTexturableImageGL* images_ = nullptr;
};

} // namespace libgr
