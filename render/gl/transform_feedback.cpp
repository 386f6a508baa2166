#include "render/gl/transform_feedback.h"

#include "render/gl/step_check.h"

#include <GL/glew.h>

namespace render {

transform_feedback_t::transform_feedback_t() {
    if (has_context()) use_object_ = bool(GLEW_VERSION_4_0);
}

bool transform_feedback_t::allocate() {
    if (!has_context()) return false;
    if (!use_object_) use_object_ = bool(GLEW_VERSION_4_0);
    if (!uses_object()) {
        name_ = 1;
        return true;
    }
    if (name_ == 0) glGenTransformFeedbacks(1, &name_);
    if (name_ == 0) return false;
    glBindTransformFeedback(GL_TRANSFORM_FEEDBACK, name_); // the first bind makes the object
    glBindTransformFeedback(GL_TRANSFORM_FEEDBACK, 0);
    return true;
}

void transform_feedback_t::varyings(gl_uint program, int count, const char* const* names) {
    if (!has_context()) return;
    if (uses_object()) glBindTransformFeedback(GL_TRANSFORM_FEEDBACK, name_);
    glTransformFeedbackVaryings(program, count, names, GL_INTERLEAVED_ATTRIBS);
    if (uses_object()) glBindTransformFeedback(GL_TRANSFORM_FEEDBACK, 0);
}

void transform_feedback_t::begin(primitive mode, gl_uint buffer) {
    step_check("transform_feedback_t::begin(0)");
    if (buffer == 0 || !has_context()) return;
    if (uses_object()) glBindTransformFeedback(GL_TRANSFORM_FEEDBACK, name_);
    step_check("transform_feedback_t::begin(1)");
    glBindBufferBase(GL_TRANSFORM_FEEDBACK_BUFFER, 0, buffer);
    step_check("transform_feedback_t::begin(2)");
    glBeginTransformFeedback(GLenum(mode));
    step_check("transform_feedback_t::begin(3)");
}

void transform_feedback_t::end() {
    step_check("transform_feedback_t::end(0)");
    if (!has_context()) return;
    glEndTransformFeedback();
    step_check("transform_feedback_t::end(1)");
    glBindBufferBase(GL_TRANSFORM_FEEDBACK_BUFFER, 0, 0);
    step_check("transform_feedback_t::end(4)");
    if (uses_object()) glBindTransformFeedback(GL_TRANSFORM_FEEDBACK, 0);
}

void transform_feedback_t::attach_buffer(gl_uint index, gl_uint buffer) {
    // The direct-state call came with OpenGL 4.5.
    if (has_context() && glTransformFeedbackBufferBase) glTransformFeedbackBufferBase(name_, index, buffer);
}

void transform_feedback_t::destroy() noexcept {
    if (uses_object() && name_ != 0 && has_context()) glDeleteTransformFeedbacks(1, &name_);
    name_ = 0;
}

} // namespace render
