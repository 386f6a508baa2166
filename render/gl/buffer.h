#pragma once
// One GL buffer object.

#include "render/gl/types.h"

#include <cstddef>
#include <memory>

namespace render {

// Access bits for MapBufferRange, equal to GL_MAP_READ_BIT and GL_MAP_WRITE_BIT.
inline constexpr gl_uint map_read = 1, map_write = 2;

// Owns one buffer name. Empty until create(). Not copyable; arrays share one through shared_buffer.
class buffer_t {
public:
    buffer_t() = default;
    ~buffer_t() { destroy(); }
    buffer_t(const buffer_t&) = delete;
    buffer_t& operator=(const buffer_t&) = delete;

    // Generates the name on the first call (glGenBuffers) and records the binding target. A later call only
    // replaces the target.
    void create(gl_enum target);
    // Deletes the name (glDeleteBuffers). Harmless when there is none.
    void destroy() noexcept;

    // The buffer name, or no_object (1281) before create().
    gl_uint id() const { return allocated_ ? name_ : no_object; }
    bool allocated() const { return allocated_; }

    // glBindBuffer of this name, or of 0, on the recorded target.
    void bind() const;
    void unbind() const;

    // Maps length bytes from offset (glMapBufferRange, OpenGL 3.0) and unbinds the buffer. The mapping is
    // valid until unmap(). Null, after a line on standard error, if the GL refuses.
    void* MapBufferRange(std::size_t offset, std::size_t length, gl_uint access);
    // Writes a line on standard error if the GL has lost the contents.
    void unmap();

private:
    gl_uint name_ = 0;
    gl_enum target_ = 0;
    bool allocated_ = false;
};

// Copies of an array share one buffer; the last copy deletes it.
using shared_buffer = std::shared_ptr<buffer_t>;

} // namespace render
