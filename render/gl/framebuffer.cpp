#include "render/gl/framebuffer.h"

#include "libutils/report.h"
#include "render/gl/step_check.h"

#include <GL/glew.h>

#include <algorithm>

namespace render {

int framebuffer_t::longest_side() {
    if (!has_context()) return 0;
    GLint texture = 0, renderbuffer = 0, viewport[2] = {};
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &texture);
    glGetIntegerv(GL_MAX_RENDERBUFFER_SIZE, &renderbuffer);
    glGetIntegerv(GL_MAX_VIEWPORT_DIMS, viewport);
    return std::min({texture, renderbuffer, viewport[0], viewport[1]});
}

bool framebuffer_t::allocate(int width, int height, int samples) {
    if (!allocate_samples(width, height, samples)) return false;
    const bool made =
        (samples_ == 0 || (make(resolved_, 0) && resolver_.make(samples_))) && presenter_.make(0);
    unbind();
    if (!made) destroy();
    return made;
}

bool framebuffer_t::allocate_samples(int width, int height, int samples) {
    free_targets();
    if (width <= 0 || height <= 0 || !has_context()) return false;
    step_check("framebuffer_t::allocate(1)"); // what somebody else has left is no failure of ours
    width_ = width;
    height_ = height;
    GLint most = 0;
    glGetIntegerv(GL_MAX_COLOR_TEXTURE_SAMPLES, &most);
    samples_ = std::clamp(samples, 0, int(most));
    if (samples_ == 1) samples_ = 0;
    const bool made = make(drawn_, samples_);
    unbind();
    if (!made) destroy();
    return made;
}

bool framebuffer_t::make(target& made, int samples) const {
    glGenFramebuffers(1, &made.framebuffer);
    glGenTextures(1, &made.color);
    glGenRenderbuffers(1, &made.depth);
    const GLenum kind = samples > 0 ? GL_TEXTURE_2D_MULTISAMPLE : GL_TEXTURE_2D;
    glBindTexture(kind, made.color);
    if (samples > 0) {
        glTexImage2DMultisample(kind, samples, GL_RGBA8, width_, height_, GL_TRUE);
    } else {
        glTexImage2D(kind, 0, GL_RGBA8, width_, height_, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
        for (const GLenum filter : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER})
            glTexParameteri(kind, filter, GL_NEAREST);
    }
    glBindTexture(kind, 0);
    glBindRenderbuffer(GL_RENDERBUFFER, made.depth);
    glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, GL_DEPTH24_STENCIL8, width_, height_);
    glBindRenderbuffer(GL_RENDERBUFFER, 0);
    glBindFramebuffer(GL_FRAMEBUFFER, made.framebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, kind, made.color, 0);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_STENCIL_ATTACHMENT, GL_RENDERBUFFER, made.depth);
    const GLenum status = glCheckFramebufferStatus(GL_FRAMEBUFFER);
    if (step_check("framebuffer_t::allocate(2)")) return false; // such as a size beyond what the GL has
    return status == GL_FRAMEBUFFER_COMPLETE ||
           libutils::report("framebuffer_t::allocate(): framebuffer status ", status, ".");
}

void framebuffer_t::free(target& made) {
    glDeleteFramebuffers(1, &made.framebuffer);
    glDeleteTextures(1, &made.color);
    glDeleteRenderbuffers(1, &made.depth);
}

void framebuffer_t::free_targets() noexcept {
    if (has_context()) {
        free(drawn_);
        free(resolved_);
    }
    drawn_ = resolved_ = {};
    width_ = height_ = samples_ = 0;
}

void framebuffer_t::destroy() noexcept {
    free_targets();
    resolver_.destroy();
    presenter_.destroy();
}

void framebuffer_t::bind() const {
    if (has_context()) glBindFramebuffer(GL_FRAMEBUFFER, drawn_.framebuffer);
}

void framebuffer_t::unbind() {
    if (has_context()) glBindFramebuffer(GL_FRAMEBUFFER, 0);
}

void framebuffer_t::resolve(const pixel_rect& area) {
    if (samples_ == 0 || !has_context()) return;
    const pixel_rect part = intersection(area, {0, 0, width_, height_});
    if (part.empty()) return;
    glBindFramebuffer(GL_FRAMEBUFFER, resolved_.framebuffer);
    resolver_.draw(drawn_.color, part, width_, height_);
    bind();
}

void framebuffer_t::copy_samples(const framebuffer_t& from, const pixel_rect& area, int x, int y) const {
    if (!allocated() || !from.allocated() || !has_context()) return;
    const auto [left, bottom, right, top] = intersection(
        area, intersection({0, 0, width_, height_}, {-x, -y, from.width_ - x, from.height_ - y}));
    if (left >= right || bottom >= top) return;
    const bool scissored = glIsEnabled(GL_SCISSOR_TEST); // it would cut the copy as well
    if (scissored) glDisable(GL_SCISSOR_TEST);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, from.drawn_.framebuffer);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, drawn_.framebuffer);
    glBlitFramebuffer(left + x, bottom + y, right + x, top + y, left, bottom, right, top,
                      GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT, GL_NEAREST);
    if (scissored) glEnable(GL_SCISSOR_TEST);
    bind();
}

void framebuffer_t::present(gl_uint framebuffer, const pixel_rect& area) {
    if (!allocated() || !has_context()) return;
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    presenter_.draw(picture().color, area, width_, height_);
    unbind();
    step_check("framebuffer_t::present(end)");
}

void framebuffer_t::read(void* rows) const {
    if (!allocated() || !has_context()) return;
    glBindFramebuffer(GL_READ_FRAMEBUFFER, picture().framebuffer);
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glReadPixels(0, 0, width_, height_, GL_RGB, GL_UNSIGNED_BYTE, rows);
    unbind();
    step_check("framebuffer_t::read(end)");
}

float framebuffer_t::depth_at(int x, int y) const {
    if (x < 0 || y < 0 || x >= width_ || y >= height_ || !has_context()) return 1.0f;
    const bool scissored = glIsEnabled(GL_SCISSOR_TEST); // it would cut the copy as well
    if (scissored) glDisable(GL_SCISSOR_TEST);
    if (samples_ > 0) { // they cannot be read; the picture's own depth is there to receive them
        glBindFramebuffer(GL_READ_FRAMEBUFFER, drawn_.framebuffer);
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, picture().framebuffer);
        glBlitFramebuffer(x, y, x + 1, y + 1, x, y, x + 1, y + 1, GL_DEPTH_BUFFER_BIT, GL_NEAREST);
    }
    if (scissored) glEnable(GL_SCISSOR_TEST);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, picture().framebuffer);
    float depth = 1.0f;
    glReadPixels(x, y, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
    unbind();
    return depth;
}

} // namespace render
