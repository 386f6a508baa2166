#pragma once
// Capturing what a vertex stage computes into a buffer.

#include "render/gl/types.h"

#include <optional>

namespace render {

// A transform-feedback object where OpenGL 4.0 has them, the context's own transform-feedback state
// otherwise.
class transform_feedback_t {
public:
    // Calls no GL function. Whether objects are used is settled by the current context, or, when there is
    // none yet, by the one that is current at allocate().
    transform_feedback_t();
    // Settles it by hand: for drivers whose transform-feedback objects are not to be trusted.
    explicit transform_feedback_t(bool use_object) : use_object_(use_object) {}
    ~transform_feedback_t() { destroy(); }
    transform_feedback_t(const transform_feedback_t&) = delete;
    transform_feedback_t& operator=(const transform_feedback_t&) = delete;

    // Generates the object once (glGenTransformFeedbacks, OpenGL 4.0); false when the GL gives none, or
    // without a context. Where objects are not used the name becomes 1 and nothing is generated.
    bool allocate();
    // Names the outputs of the program's last vertex stage that are captured, interleaved in this order into
    // the buffer that begin() binds (glTransformFeedbackVaryings). The program must be linked afterwards.
    void varyings(gl_uint program, int count, const char* const* names);
    // From here to end() everything drawn is captured. Nothing but the first step check happens for the
    // buffer name 0.
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
    std::optional<bool> use_object_; // empty: not settled yet
    gl_uint name_ = 0;
};

} // namespace render
