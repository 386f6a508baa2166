#pragma once
// Copies a texture into a framebuffer.

#include "render/gl/array_buffer.h"
#include "render/gl/program.h"
#include "render/gl/types.h"
#include "render/gl/vertex_array.h"
#include "render/math/pixel_rect.h"

namespace render {

// A program that draws a two-dimensional texture as it is, and averages the samples of a multisample texture.
// It does what glBlitFramebuffer does, but a software renderer keeps what it has compiled for a program from
// one start to the next, and for such a blit compiles anew at every start (about 50 ms each). Not copyable.
// Empty until make().
class texture_copier_t {
public:
    texture_copier_t() = default;
    ~texture_copier_t() = default;
    texture_copier_t(const texture_copier_t&) = delete;
    texture_copier_t& operator=(const texture_copier_t&) = delete;

    // For multisample textures with that many samples, or 0 for others. There may be such a program already.
    // False without a context or, after a line on standard error, when the GL refuses the program.
    bool make(int samples);
    void destroy() noexcept;

    // Draws a rectangle of the texture, which has that many texels, at the same place of the framebuffer that
    // is bound: all channels, whatever tests and masks are on. Leaves every state as it was, but no program
    // in use.
    void draw(gl_uint texture, const pixel_rect& area, int width, int height) const;

private:
    static constexpr int none = -1;
    int samples_ = none;
    program_t program_;
    array_buffer_t corners_;
    vertex_array_t layout_;
};

} // namespace render
