#include "render/gl/framebuffer.h"

#include "libutils/report.h"
#include "render/gl/step_check.h"

#include <GL/glew.h>

#include <algorithm>

namespace render {

namespace {

// Copies are cut by the scissor rectangle, too: none while this lives.
class unscissored {
public:
    unscissored() : was_on_(glIsEnabled(GL_SCISSOR_TEST)) {
        if (was_on_) glDisable(GL_SCISSOR_TEST);
    }
    ~unscissored() {
        if (was_on_) glEnable(GL_SCISSOR_TEST);
    }
    unscissored(const unscissored&) = delete;
    unscissored& operator=(const unscissored&) = delete;

private:
    bool was_on_;
};

void copy(gl_uint from, gl_uint to, int left, int bottom, int right, int top, GLbitfield what) {
    const unscissored whole;
    glBindFramebuffer(GL_READ_FRAMEBUFFER, from);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, to);
    glBlitFramebuffer(left, bottom, right, top, left, bottom, right, top, what, GL_NEAREST);
}

} // namespace

int framebuffer_t::longest_side() {
    if (!has_context()) return 0;
    GLint renderbuffer = 0, viewport[2] = {};
    glGetIntegerv(GL_MAX_RENDERBUFFER_SIZE, &renderbuffer);
    glGetIntegerv(GL_MAX_VIEWPORT_DIMS, viewport);
    return std::min({renderbuffer, viewport[0], viewport[1]});
}

bool framebuffer_t::allocate(int width, int height, int samples) {
    destroy();
    if (width <= 0 || height <= 0 || !has_context()) return false;
    step_check("framebuffer_t::allocate(1)"); // what somebody else has left is no failure of ours
    width_ = width;
    height_ = height;
    GLint most = 0;
    glGetIntegerv(GL_MAX_SAMPLES, &most);
    samples_ = std::clamp(samples, 0, int(most));
    if (samples_ == 1) samples_ = 0;
    bool made = make(drawn_, samples_);
    if (samples_ > 0) made = made && make(resolved_, 0);
    unbind();
    if (!made) destroy();
    return made;
}

bool framebuffer_t::make(target& made, int samples) const {
    glGenFramebuffers(1, &made.framebuffer);
    glGenRenderbuffers(1, &made.color);
    glGenRenderbuffers(1, &made.depth);
    glBindRenderbuffer(GL_RENDERBUFFER, made.color);
    glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, GL_RGBA8, width_, height_);
    glBindRenderbuffer(GL_RENDERBUFFER, made.depth);
    glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, GL_DEPTH24_STENCIL8, width_, height_);
    glBindRenderbuffer(GL_RENDERBUFFER, 0);
    glBindFramebuffer(GL_FRAMEBUFFER, made.framebuffer);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, made.color);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_STENCIL_ATTACHMENT, GL_RENDERBUFFER, made.depth);
    const GLenum status = glCheckFramebufferStatus(GL_FRAMEBUFFER);
    if (step_check("framebuffer_t::allocate(2)")) return false; // such as a size beyond what the GL has
    return status == GL_FRAMEBUFFER_COMPLETE ||
           libutils::report("framebuffer_t::allocate(): framebuffer status ", status, ".");
}

void framebuffer_t::free(target& made) {
    glDeleteFramebuffers(1, &made.framebuffer);
    glDeleteRenderbuffers(1, &made.color);
    glDeleteRenderbuffers(1, &made.depth);
}

void framebuffer_t::destroy() noexcept {
    if (has_context()) {
        free(drawn_);
        free(resolved_);
    }
    drawn_ = resolved_ = {};
    width_ = height_ = samples_ = 0;
}

void framebuffer_t::bind() const {
    if (has_context()) glBindFramebuffer(GL_FRAMEBUFFER, drawn_.framebuffer);
}

void framebuffer_t::unbind() {
    if (has_context()) glBindFramebuffer(GL_FRAMEBUFFER, 0);
}

void framebuffer_t::resolve(const pixel_rect& area) const {
    if (samples_ == 0 || !has_context()) return;
    const pixel_rect part = intersection(area, {0, 0, width_, height_});
    if (part.empty()) return;
    copy(drawn_.framebuffer, resolved_.framebuffer, part.left, part.bottom, part.right, part.top,
         GL_COLOR_BUFFER_BIT);
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

void framebuffer_t::fill(const pixel_rect& area, const col3& color) const {
    if (samples_ == 0 || !has_context()) return;
    GLint other[4];
    glGetIntegerv(GL_SCISSOR_BOX, other);
    const bool scissored = glIsEnabled(GL_SCISSOR_TEST);
    glBindFramebuffer(GL_FRAMEBUFFER, resolved_.framebuffer);
    glEnable(GL_SCISSOR_TEST);
    glScissor(area.left, area.bottom, area.width(), area.height());
    glClearColor(color.r, color.g, color.b, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    glScissor(other[0], other[1], other[2], other[3]);
    if (!scissored) glDisable(GL_SCISSOR_TEST);
    bind();
}

void framebuffer_t::present(gl_uint framebuffer) const {
    if (!allocated() || !has_context()) return;
    copy(picture(), framebuffer, 0, 0, width_, height_, GL_COLOR_BUFFER_BIT);
    unbind();
    step_check("framebuffer_t::present(end)");
}

void framebuffer_t::read(void* rows) const {
    if (!allocated() || !has_context()) return;
    glBindFramebuffer(GL_READ_FRAMEBUFFER, picture());
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glReadPixels(0, 0, width_, height_, GL_RGB, GL_UNSIGNED_BYTE, rows);
    unbind();
    step_check("framebuffer_t::read(end)");
}

float framebuffer_t::depth_at(int x, int y) const {
    if (x < 0 || y < 0 || x >= width_ || y >= height_ || !has_context()) return 1.0f;
    // Samples cannot be read; the picture's own depth is there to receive them.
    if (samples_ > 0) copy(drawn_.framebuffer, picture(), x, y, x + 1, y + 1, GL_DEPTH_BUFFER_BIT);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, picture());
    float depth = 1.0f;
    glReadPixels(x, y, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
    unbind();
    return depth;
}

} // namespace render
