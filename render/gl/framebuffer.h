#pragma once
// An off-screen picture with smooth edges that survives between redraws.

#include "render/gl/texture_copier.h"
#include "render/gl/types.h"
#include "render/math/pixel_rect.h"

namespace render {

// A framebuffer with colour, depth and stencil of several samples a pixel, and beside it the finished
// picture. What has been drawn is resolved into the picture rectangle by rectangle, so a redraw may leave out
// (by a scissor) what has not changed. Where the context has no multisampling the picture itself is drawn
// into. Multisample textures, OpenGL 3.2. Not copyable. Does nothing without a context.
class framebuffer_t {
public:
    framebuffer_t() = default;
    ~framebuffer_t() { destroy(); }
    framebuffer_t(const framebuffer_t&) = delete;
    framebuffer_t& operator=(const framebuffer_t&) = delete;

    // Makes everything anew for a size in pixels, contents undefined, with as many samples as are wanted or
    // as the context has. False, and empty, after a line on standard error when the GL cannot make it: draw
    // into the window then. An error that was pending is reported but is no reason to fail.
    bool allocate(int width, int height, int samples);
    // The same without a picture: for samples that are only copied from here.
    bool allocate_samples(int width, int height, int samples);
    void destroy() noexcept;

    // The longest side that allocate() can make; 0 without a context.
    static int longest_side();

    // Drawing goes into the samples from here on (glBindFramebuffer). The viewport is left to the caller.
    void bind() const;
    static void unbind(); // into the window

    // Takes the samples of a rectangle, with depth and stencil, over from another one that has as many a
    // pixel; its pixel (x, y) becomes (0, 0) here.
    void copy_samples(const framebuffer_t& from, const pixel_rect& area, int x = 0, int y = 0) const;
    // Resolves the samples of a rectangle into the picture.
    void resolve(const pixel_rect& area);
    // Copies a rectangle of the picture, or all of it, to the window, or to the framebuffer of that name.
    // Drawing goes into the window from here on.
    void present(gl_uint framebuffer, const pixel_rect& area);
    void present(gl_uint framebuffer = 0) { present(framebuffer, {0, 0, width_, height_}); }
    // Reads the picture as 8-bit RGB, the bottom row first, each row padded to a multiple of 4 bytes. Drawing
    // goes into the window from here on.
    void read(void* rows) const;
    // The depth of a pixel of what was drawn last, 0 near to 1 far; 1 outside.
    float depth_at(int x, int y) const;

    bool allocated() const { return drawn_.framebuffer != 0; }
    int width() const { return width_; }
    int height() const { return height_; }
    int samples() const { return samples_; } // 0: one, the picture itself

private:
    struct target {
        gl_uint framebuffer = 0;
        gl_uint color = 0; // a texture
        gl_uint depth = 0; // a renderbuffer
    };
    bool make(target& made, int samples) const;
    static void free(target& made);
    void free_targets() noexcept;
    const target& picture() const { return samples_ > 0 ? resolved_ : drawn_; }

    int width_ = 0, height_ = 0, samples_ = 0;
    target drawn_;    // the samples, or the picture where there are none
    target resolved_; // the picture where there are samples
    texture_copier_t resolver_, presenter_;
};

} // namespace render
