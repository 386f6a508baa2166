#pragma once
// The index list of one surface on the GPU.

#include "render/gl/buffer.h"
#include "render/gl/vertex_array.h"

#include <cstdint>
#include <iosfwd>
#include <span>

namespace render {

// Unsigned 32-bit indices in a GL_ELEMENT_ARRAY_BUFFER. Copies share the GL buffer, but each keeps its own
// count.
class element_array_t {
public:
    // Makes the store for count indices (glBufferData, GL_DYNAMIC_DRAW; never smaller than before), unless it
    // has that count already. The step checks report GL errors, with the sizes if the GL refuses the store;
    // the result is still true. Without a context nothing is made: false.
    bool allocate(std::uint64_t count);
    // Gives up this copy's share of the buffer and becomes empty.
    void release();

    // Uploads indices to the positions from first on; they must lie within the capacity.
    void upload(std::span<const std::uint32_t> indices, std::uint64_t first = 0);

    // Draws all count() indices (glDrawElements) with the vertices of the vertex array. Does nothing before
    // allocate().
    void draw(const vertex_array_t& vertex_array, primitive mode) const;

    // Maps the whole store for reading and writing, until unmap(). Null, after a line on standard error, if
    // there is no store or it cannot be mapped.
    std::uint32_t* map();
    void unmap();

    // Writes the indices in the store as print_indices() does.
    void print(std::ostream& out);

    gl_uint id() const { return buffer_ ? buffer_->id() : no_object; } // 1281 before allocate()
    std::uint64_t capacity() const { return capacity_; }               // bytes
    std::uint64_t count() const { return count_; }                     // indices

private:
    bool allocated() const { return buffer_ && buffer_->allocated(); }

    shared_buffer buffer_;
    std::uint64_t capacity_ = 0;
    std::uint64_t count_ = 0;
};

// Writes indices separated by ", ", then a newline. The restart index appears as -1.
void print_indices(std::ostream& out, std::span<const std::uint32_t> indices);

} // namespace render
