#include "render/surface/feedback_buffer.h"

#include "render/gl/step_check.h"

#include <GL/glew.h>

namespace render {

bool feedbackbuffer::allocate(std::uint64_t floats) {
    if (!has_context()) return false;
    floats_ = floats;
    bytes_ = floats * sizeof(float);
    if (name_ == 0) glGenBuffers(1, &name_);
    if (name_ == 0) return false;
    step_check("feedbackbuffer::allocate(1)");
    bind();
    glBufferData(GL_TRANSFORM_FEEDBACK_BUFFER, GLsizeiptr(bytes_), nullptr, GL_DYNAMIC_DRAW);
    unbind();
    step_check("feedbackbuffer::allocate(end)");
    return true;
}

void feedbackbuffer::destroy() noexcept {
    if (name_ != 0 && has_context()) glDeleteBuffers(1, &name_);
    name_ = 0;
    bytes_ = 0;
    floats_ = 0;
}

float* feedbackbuffer::map() {
    if (name_ == 0 || !has_context()) return nullptr;
    step_check("feedbackbuffer::map(1)");
    bind();
    void* ptr = glMapBufferRange(GL_TRANSFORM_FEEDBACK_BUFFER, 0, GLsizeiptr(bytes_),
                                 GL_MAP_READ_BIT | GL_MAP_WRITE_BIT);
    unbind();
    step_check("feedbackbuffer::map(end)");
    return static_cast<float*>(ptr);
}

void feedbackbuffer::unmap() {
    if (name_ == 0 || !has_context()) return;
    bind();
    glUnmapBuffer(GL_TRANSFORM_FEEDBACK_BUFFER);
    unbind();
}

void feedbackbuffer::bind() const {
    if (has_context()) glBindBuffer(GL_TRANSFORM_FEEDBACK_BUFFER, name_);
}

void feedbackbuffer::unbind() const {
    if (has_context()) glBindBuffer(GL_TRANSFORM_FEEDBACK_BUFFER, 0);
}

void feedbackbuffer::bind_base(gl_uint index) const {
    if (has_context()) glBindBufferBase(GL_SHADER_STORAGE_BUFFER, index, name_);
}

void feedbackbuffer::unbind_base(gl_uint index) const {
    if (has_context()) glBindBufferBase(GL_SHADER_STORAGE_BUFFER, index, 0);
}

} // namespace render
