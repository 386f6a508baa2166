#include "canvas.h"

#include <GL/glew.h>

#include <algorithm>

namespace tool {

static GLint limit(GLenum name) {
    GLint value = 0;
    glGetIntegerv(name, &value);
    return value;
}

std::uint32_t canvas::longest_side() {
    GLint viewport[2] = {};
    glGetIntegerv(GL_MAX_VIEWPORT_DIMS, viewport);
    return std::uint32_t(std::min({limit(GL_MAX_RENDERBUFFER_SIZE), viewport[0], viewport[1]}));
}

canvas::target canvas::make(int samples) const {
    target t;
    const auto storage = [&](unsigned& name, GLenum format, GLenum attachment) {
        glGenRenderbuffers(1, &name);
        glBindRenderbuffer(GL_RENDERBUFFER, name);
        glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, format, GLsizei(width_), GLsizei(height_));
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, attachment, GL_RENDERBUFFER, name);
    };
    glGenFramebuffers(1, &t.framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, t.framebuffer);
    storage(t.color, GL_RGBA8, GL_COLOR_ATTACHMENT0);
    storage(t.depth, GL_DEPTH_COMPONENT24, GL_DEPTH_ATTACHMENT);
    return t;
}

canvas::canvas(std::uint32_t width, std::uint32_t height) : width_(width), height_(height) {
    resolved_ = make(0);
    drawn_ = make(std::min(4, limit(GL_MAX_SAMPLES)));
    complete_ =
        glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE && glGetError() == GL_NO_ERROR;
    glViewport(0, 0, GLsizei(width), GLsizei(height));
}

canvas::~canvas() {
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    for (const target& t : {drawn_, resolved_}) {
        glDeleteFramebuffers(1, &t.framebuffer);
        glDeleteRenderbuffers(1, &t.color);
        glDeleteRenderbuffers(1, &t.depth);
    }
}

bool canvas::read(libgr::image2d& image) {
    image.width = width_;
    image.height = height_;
    image.descriptor = {libgr::pixel_format::rgb, libgr::sample_type::unsigned_integer,
                        libgr::bits_class::bits_8};
    if (!image.allocate()) return false;
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, resolved_.framebuffer);
    glBlitFramebuffer(0, 0, GLint(width_), GLint(height_), 0, 0, GLint(width_), GLint(height_),
                      GL_COLOR_BUFFER_BIT, GL_NEAREST);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, resolved_.framebuffer);
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glReadPixels(0, 0, GLsizei(width_), GLsizei(height_), GL_RGB, GL_UNSIGNED_BYTE, image.row(0));
    glBindFramebuffer(GL_FRAMEBUFFER, drawn_.framebuffer);
    return true;
}

} // namespace tool
