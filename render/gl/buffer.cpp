#include "render/gl/buffer.h"

#include "libutils/report.h"
#include "render/gl/step_check.h"

#include <GL/glew.h>

namespace render {

static_assert(no_object == GL_INVALID_VALUE);
static_assert(map_read == GL_MAP_READ_BIT && map_write == GL_MAP_WRITE_BIT);

void buffer_t::create(gl_enum target) {
    if (!has_context()) return;
    if (!allocated_) {
        glGenBuffers(1, &name_);
        allocated_ = true;
    }
    target_ = target;
}

void buffer_t::destroy() noexcept {
    if (allocated_ && has_context()) glDeleteBuffers(1, &name_);
    allocated_ = false;
}

void buffer_t::bind() const {
    if (has_context()) glBindBuffer(target_, id());
}

void buffer_t::unbind() const {
    if (has_context()) glBindBuffer(target_, 0);
}

void* buffer_t::MapBufferRange(std::size_t offset, std::size_t length, gl_uint access) {
    void* ptr = nullptr;
    if (has_context()) {
        bind();
        ptr = glMapBufferRange(target_, GLintptr(offset), GLsizeiptr(length), access);
        unbind();
    }
    if (!ptr) libutils::report("buffer_t::MapBufferRange(): ptr is NULL.");
    return ptr;
}

void buffer_t::unmap() {
    if (!has_context()) return;
    bind();
    const bool kept = glUnmapBuffer(target_) == GL_TRUE;
    unbind();
    if (!kept) libutils::report("buffer_t::unmap(): the contents are lost.");
}

} // namespace render
