#pragma once
// The GPU store for the captured frames of one surface.

#include "render/gl/types.h"

#include <cstdint>

namespace render {

// Floats captured for each vertex: tangent, binormal, normal.
inline constexpr std::uint64_t frame_floats = 9;

// One GL buffer on GL_TRANSFORM_FEEDBACK_BUFFER. Not copyable. Does nothing without a context.
class feedbackbuffer {
public:
    feedbackbuffer() = default;
    ~feedbackbuffer() { destroy(); }
    feedbackbuffer(const feedbackbuffer&) = delete;
    feedbackbuffer& operator=(const feedbackbuffer&) = delete;

    // Makes the store anew for that many floats, contents undefined (glBufferData, GL_DYNAMIC_DRAW). The name
    // is generated once; false if the GL gives none, or without a context.
    bool allocate(std::uint64_t floats);
    void destroy() noexcept;

    // Maps the whole store for reading and writing, until unmap(). Null before allocate() or if the GL
    // refuses.
    float* map();
    void unmap();

    void bind() const;
    void unbind() const;
    // Bind it as a shader storage buffer (OpenGL 4.3), for programs that read the frames in place.
    void bind_base(gl_uint index) const;
    void unbind_base(gl_uint index) const;

    gl_uint id() const { return name_; } // 0: none
    std::uint64_t bytes() const { return bytes_; }
    std::uint64_t floats() const { return floats_; }

private:
    gl_uint name_ = 0;
    std::uint64_t bytes_ = 0;
    std::uint64_t floats_ = 0;
};

} // namespace render
