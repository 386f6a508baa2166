#pragma once
// The vertices of one surface on the GPU.

#include "render/gl/buffer.h"
#include "render/gl/vertex_array.h"

#include <cstdint>

namespace render {

// A buffer of vertices of one layout: count() vertices of stride() floats, 4 bytes each. Copies share the GL
// buffer, but each keeps its own count. Without a context nothing is made and every bool result is false.
// Errors of the GL are reported by the step checks.
class array_buffer_t {
public:
    // Makes the store for count vertices (glBufferData, GL_DYNAMIC_DRAW; never smaller than before) and takes
    // a share of the layout. If data is given, uploads min(capacity, datasize) bytes of it, or the whole
    // capacity if datasize is 0. False, without any change, if the layout has more entries than
    // GL_MAX_VERTEX_ATTRIBS.
    bool allocate(std::uint64_t count, layout_ref layout, const void* data = nullptr,
                  std::uint64_t datasize = 0);
    // Sets the number of vertices and keeps the contents. A store that is too small grows to four times the
    // new count; a smaller count keeps the store. False before allocate().
    bool resize(std::uint64_t count);
    // Makes room for that many vertices and keeps the contents (through a temporary buffer and
    // glCopyBufferSubData, OpenGL 3.1). Before there is a GL buffer only the capacity is recorded. True if
    // the temporary buffer was made; false also if there was nothing to do.
    bool grow(std::uint64_t vertices);
    // Whether count vertices fit into the store.
    bool fits(std::uint64_t count) const;
    // Gives up this copy's share of the buffer and becomes empty.
    void release();

    // Uploads capacity() bytes (glBufferSubData): data must hold that many.
    void upload_all(const void* data);
    // Uploads one vertex of stride() floats.
    void upload_one(std::uint64_t index, const void* data) { upload_range(index, 1, data); }
    // Uploads vertices first .. first + count - 1; they must lie within the capacity.
    void upload_range(std::uint64_t first, std::uint64_t count, const void* data);

    // Maps the whole store for reading and writing, until unmap(). Null, after a line on standard error, if
    // there is no store or it cannot be mapped.
    float* map();
    void unmap();

    void bind() const;
    void unbind() const;
    // Attaches the attributes to consecutive locations of a vertex array.
    void bind_layout_to(vertex_array_t& vertex_array, std::uint32_t first_location) const;

    gl_uint id() const { return buffer_ ? buffer_->id() : no_object; } // 1281 before allocate()
    std::uint64_t capacity() const { return capacity_; }               // bytes
    std::uint64_t count() const { return count_; }                     // vertices
    std::uint32_t stride() const { return stride_; }                   // floats per vertex
    const layout_ref& layout() const { return layout_; }

private:
    bool allocated() const { return buffer_ && buffer_->allocated(); }
    void upload_bytes(std::uint64_t offset, std::uint64_t bytes, const void* data);

    shared_buffer buffer_;
    std::uint64_t capacity_ = 0;
    std::uint64_t count_ = 0;
    std::uint32_t stride_ = 0;
    layout_ref layout_ = empty_layout();
};

} // namespace render
