#include "support/gl_window.h"

#include "render/gl/step_check.h"

#include <GL/glew.h>

#ifdef _WIN32
#include <windows.h>
#else
#include <GL/glx.h>
#endif

#include <GL/freeglut.h>

#include <cstdlib>

namespace test_support {

bool make_context_current() {
    static int window = 0;
    if (window == 0) {
        char name[] = "test", *arguments[] = {name, nullptr};
        int count = 1;
#ifdef _WIN32
        _putenv("DISPLAY="); // Wine's, which GLUT would take for the name of a Windows display
#endif
        glutInit(&count, arguments);
        glutInitDisplayMode(GLUT_DOUBLE | GLUT_RGBA | GLUT_ALPHA | GLUT_DEPTH);
        glutInitWindowSize(16, 16);
        window = glutCreateWindow("test");
        glutHideWindow();
    }
    glutSetWindow(window);
    return render::has_context() || render::load_gl();
}

#ifdef _WIN32
without_context::without_context() : handles_{wglGetCurrentDC(), wglGetCurrentContext(), nullptr} {
    wglMakeCurrent(nullptr, nullptr);
}
without_context::~without_context() {
    wglMakeCurrent(static_cast<HDC>(handles_[0]), static_cast<HGLRC>(handles_[1]));
}
#else
without_context::without_context()
    : handles_{glXGetCurrentDisplay(), reinterpret_cast<void*>(glXGetCurrentDrawable()),
               glXGetCurrentContext()} {
    glXMakeCurrent(static_cast<Display*>(handles_[0]), None, nullptr);
}
without_context::~without_context() {
    glXMakeCurrent(static_cast<Display*>(handles_[0]), reinterpret_cast<GLXDrawable>(handles_[1]),
                   static_cast<GLXContext>(handles_[2]));
}
#endif

} // namespace test_support
