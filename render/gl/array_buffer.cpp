#include "render/gl/array_buffer.h"

#include "libutils/report.h"
#include "render/gl/step_check.h"

#include <GL/glew.h>

#include <algorithm>
#include <cstddef>
#include <limits>

namespace render {

namespace {

// Bytes of count vertices, or nothing the GL could ever give when that does not fit.
std::uint64_t bytes_of(std::uint32_t stride, std::uint64_t count) {
    constexpr auto most = std::uint64_t(std::numeric_limits<std::ptrdiff_t>::max());
    const std::uint64_t vertex = std::uint64_t(stride) * 4;
    return vertex == 0 ? 0 : count > most / vertex ? most : count * vertex;
}

} // namespace

bool array_buffer_t::allocate(std::uint64_t count, layout_ref layout, const void* data,
                              std::uint64_t datasize) {
    if (!layout || !has_context()) return false;
    GLint most = 0;
    glGetIntegerv(GL_MAX_VERTEX_ATTRIBS, &most);
    if (layout->size() > std::uint32_t(most)) return false;

    if (!buffer_) buffer_ = std::make_shared<buffer_t>();
    buffer_->create(GL_ARRAY_BUFFER);
    stride_ = stride_of(*layout);
    if (layout_ != layout) layout_ = std::move(layout);
    count_ = count;
    capacity_ = std::max(bytes_of(stride_, count), capacity_);

    step_check("array_buffer_t::allocate(1)");
    buffer_->bind();
    glBufferData(GL_ARRAY_BUFFER, GLsizeiptr(capacity_), nullptr, GL_DYNAMIC_DRAW);
    if (data) {
        const std::uint64_t bytes = datasize == 0 ? capacity_ : std::min(capacity_, datasize);
        glBufferSubData(GL_ARRAY_BUFFER, 0, GLsizeiptr(bytes), data);
    }
    buffer_->unbind();
    step_check("array_buffer_t::allocate(end)");
    return true;
}

bool array_buffer_t::resize(std::uint64_t count) {
    if (!allocated()) return false;
    if (count == count_) return true;
    count_ = count;
    if (!fits(count)) grow(count > std::numeric_limits<std::uint64_t>::max() / 4 ? count : count * 4);
    return true;
}

bool array_buffer_t::grow(std::uint64_t vertices) {
    const std::uint64_t needed = bytes_of(stride_, vertices);
    if (!allocated()) {
        capacity_ = needed;
        return false;
    }
    if (capacity_ >= needed || !has_context()) return false;

    step_check("array_buffer_t::grow(1)");
    buffer_t old;
    old.create(GL_COPY_READ_BUFFER);
    old.bind();
    glBufferData(GL_COPY_READ_BUFFER, GLsizeiptr(capacity_), nullptr, GL_STATIC_COPY);
    buffer_->bind();
    glCopyBufferSubData(GL_ARRAY_BUFFER, GL_COPY_READ_BUFFER, 0, 0, GLsizeiptr(capacity_));
    glBufferData(GL_ARRAY_BUFFER, GLsizeiptr(needed), nullptr, GL_DYNAMIC_DRAW);
    glCopyBufferSubData(GL_COPY_READ_BUFFER, GL_ARRAY_BUFFER, 0, 0, GLsizeiptr(capacity_));
    buffer_->unbind();
    old.unbind();
    step_check("array_buffer_t::grow(end)");
    capacity_ = needed;
    return old.allocated();
}

bool array_buffer_t::fits(std::uint64_t count) const {
    return capacity_ >= bytes_of(stride_, count);
}

void array_buffer_t::release() {
    *this = array_buffer_t();
}

void array_buffer_t::upload_all(const void* data) {
    upload_bytes(0, capacity_, data);
}

void array_buffer_t::upload_range(std::uint64_t first, std::uint64_t count, const void* data) {
    upload_bytes(bytes_of(stride_, first), bytes_of(stride_, count), data);
}

void array_buffer_t::upload_bytes(std::uint64_t offset, std::uint64_t bytes, const void* data) {
    if (!allocated() || !has_context()) return;
    step_check("array_buffer_t::upload(1)");
    buffer_->bind();
    glBufferSubData(GL_ARRAY_BUFFER, GLintptr(offset), GLsizeiptr(bytes), data);
    buffer_->unbind();
    step_check("array_buffer_t::upload(end)");
}

float* array_buffer_t::map() {
    const char* failure = "array buffer is not allocated.";
    if (allocated()) {
        if (void* ptr = buffer_->MapBufferRange(0, capacity_, map_read | map_write))
            return static_cast<float*>(ptr);
        failure = "array pointer is NULL.";
    }
    libutils::report(failure);
    return nullptr;
}

void array_buffer_t::unmap() {
    if (allocated()) buffer_->unmap();
}

void array_buffer_t::bind() const {
    if (buffer_) buffer_->bind();
}

void array_buffer_t::unbind() const {
    if (buffer_) buffer_->unbind();
}

void array_buffer_t::bind_layout_to(vertex_array_t& vertex_array, std::uint32_t first_location) const {
    vertex_array.bind_layout(*layout_, stride_, id(), first_location);
}

} // namespace render
