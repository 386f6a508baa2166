#include "render/gl/step_check.h"

#include "libutils/error_report.h"

#include <GL/glew.h>

#ifdef _WIN32
#include <windows.h>
#else
#include <GL/glx.h>
#endif

#include <iostream>

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

bool refuse(const char* reason) {
    libutils::error_report();
    std::cerr << "load_gl(): " << reason << std::endl;
    return false;
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
    if (!is_current()) return refuse("no OpenGL context is current.");
    GLenum result = glewInit();
#ifndef _WIN32
    // Then it has found the GL's functions all the same, and looked for GLX's in vain.
    if (other_interface && result == GLEW_ERROR_NO_GLX_DISPLAY) result = GLEW_OK;
#endif
    if (result != GLEW_OK) {
        return refuse(reinterpret_cast<const char*>(glewGetErrorString(result)));
    }
    if (!GLEW_VERSION_3_3) return refuse("OpenGL 3.3 is not available.");
    glGetError(); // the loader may leave one behind
    loaded = true;
    return true;
}

bool step_check(const char* label) {
    if (!has_context()) return false;
    const GLenum error = glGetError();
    if (error == GL_NO_ERROR) return false;

    libutils::error_report();
    if (label) std::cerr << label << ": ";
    std::cerr << "Error " << error << ": ";
    if (const GLubyte* text = gluErrorString(error)) {
        std::cerr << text;
    } else {
        std::cerr.setstate(std::ios::badbit);
    }
    std::cerr << std::endl;
    return true;
}

} // namespace render
