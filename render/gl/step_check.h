#pragma once
// Tells whether there is a GL context, and reports its errors.

namespace render {

// True when the calling thread has a current GL context and load_gl() has succeeded. Cheap: one look at
// thread-local storage. Everything on this floor asks it before it calls the GL, and does nothing without a
// context: creations fail, draws and uploads are skipped, destructors forget the names (the GL frees them
// with the context).
bool has_context();

// A promise that the current context stays current while this lives, so that has_context() need not look
// again: drawing a picture asks thousands of times. Promises may be nested.
class context_stays {
public:
    context_stays();
    ~context_stays();
    context_stays(const context_stays&) = delete;
    context_stays& operator=(const context_stays&) = delete;

private:
    bool before_;
};

// Replaces the question whether the calling thread has a current context, which otherwise goes to the window
// system (GLX, WGL). Set it before load_gl() where the context is EGL's; null restores the usual question.
using context_probe = bool (*)();
void set_context_probe(context_probe probe);

// Finds the entry points of the GL functions beyond version 1.1 (glewInit). Call it once with the new context
// current, before anything else of this floor; it also has the steps of libutils/step.h checked. False, after
// a line with the reason on standard error, when there is no context or it lacks OpenGL 3.3.
bool load_gl();

// Reads the GL error flag (glGetError). Clear: false, and nothing is written. Set: the line
// "LABEL: Error NUMBER: TEXT" on standard error (without "LABEL: " when label is null), and true. LABEL is
// the label followed by the step. TEXT is gluErrorString's; where that is null the stream's bad bit is set
// instead. Errors are reported, never turned into failures. Without a current context: false, silently.
bool step_check(const char* label = nullptr, const char* step = "");

} // namespace render
