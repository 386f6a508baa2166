#include "render/gl/step_check.h"

#include "libutils/report.h"
#include "libutils/step.h"

#include <GL/glew.h>

#ifdef _WIN32
#include <windows.h>
#else
#include <GL/glx.h>
#endif

#include <iostream>
#include <string>

namespace render {

namespace {

bool loaded = false;
thread_local bool stays = false;
context_probe other_interface = nullptr;

bool is_current() {
    if (other_interface) return other_interface();
#ifdef _WIN32
    return wglGetCurrentContext() != nullptr;
#else
    return glXGetCurrentContext() != nullptr;
#endif
}

} // namespace

bool has_context() {
    return stays || (loaded && is_current());
}

context_stays::context_stays() : before_(stays) {
    stays = has_context();
}

context_stays::~context_stays() {
    stays = before_;
}

void set_context_probe(context_probe probe) {
    other_interface = probe;
}

bool load_gl() {
    if (!is_current()) return libutils::report("load_gl(): no OpenGL context is current.");
    GLenum result = glewInit();
#ifndef _WIN32
    // Then it has found the GL's functions all the same, and looked for GLX's in vain.
    if (other_interface && result == GLEW_ERROR_NO_GLX_DISPLAY) result = GLEW_OK;
#endif
    if (result != GLEW_OK) {
        return libutils::report("load_gl(): ", glewGetErrorString(result));
    }
    if (!GLEW_VERSION_3_3) return libutils::report("load_gl(): OpenGL 3.3 is not available.");
    glGetError(); // the loader may leave one behind
    loaded = true;
    libutils::set_step_watcher([](const char* label) { step_check(label); });
    return true;
}

bool step_check(const char* label, const char* step) {
    if (!has_context()) return false;
    const GLenum error = glGetError();
    if (error == GL_NO_ERROR) return false;

    const std::string start = label ? std::string(label) + step + ": " : "";
    if (const GLubyte* text = gluErrorString(error))
        return !libutils::report(start, "Error ", error, ": ", text);
    libutils::error_report();
    std::cerr << start << "Error " << error << ": " << std::flush;
    std::cerr.setstate(std::ios::badbit);
    return true;
}

} // namespace render
