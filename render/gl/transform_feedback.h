#pragma once
// Captures the outputs of a vertex stage in a buffer.

#include "render/gl/types.h"

#include <optional>

namespace render {

// A transform-feedback object where OpenGL 4.0 has them, the context's own transform-feedback state
// otherwise.
class transform_feedback_t {
public:
    // Calls no GL function. The current context decides whether objects are used; if there is none yet, the
    // one that is current at allocate() decides.
    transform_feedback_t();
    // Decides by hand: for drivers whose transform-feedback objects do not work.
    explicit transform_feedback_t(bool use_object) : use_object_(use_object) {}
    ~transform_feedback_t() { destroy(); }
    transform_feedback_t(const transform_feedback_t&) = delete;
    transform_feedback_t& operator=(const transform_feedback_t&) = delete;

    // Generates the object once (glGenTransformFeedbacks, OpenGL 4.0); false if the GL gives none, or without
    // a context. Where objects are not used, the name becomes 1 and nothing is generated.
    bool allocate();
    // Names the outputs of the program's last vertex stage that are captured, interleaved in this order into
    // the buffer that begin() binds (glTransformFeedbackVaryings). The program must be linked afterwards.
    void varyings(gl_uint program, int count, const char* const* names);
    // Captures everything drawn until end(). With the buffer name 0 it does nothing but the first step check.
    void begin(primitive mode, gl_uint buffer);
    void end();
    // Attaches a buffer to the object itself (glTransformFeedbackBufferBase, OpenGL 4.5).
    void attach_buffer(gl_uint index, gl_uint buffer);
    void detach_buffer(gl_uint index) { attach_buffer(index, 0); }
    // Deletes the object.
    void destroy() noexcept;

    gl_uint id() const { return name_; }
    bool uses_object() const { return use_object_.value_or(false); }

private:
    std::optional<bool> use_object_; // empty: undecided
    gl_uint name_ = 0;
};

} // namespace render
