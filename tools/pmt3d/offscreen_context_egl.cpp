#include "offscreen_context.h"

#include "render/gl/step_check.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <cstring>

namespace tool {

namespace {

bool is_current() {
    return eglGetCurrentContext() != EGL_NO_CONTEXT;
}

class egl_context : public offscreen_context {
public:
    // Works with or without a surface: some drivers give a context only together with one.
    bool open(EGLDisplay display) {
        if (display == EGL_NO_DISPLAY || !eglInitialize(display, nullptr, nullptr)) return false;
        display_ = display;
        if (!eglBindAPI(EGL_OPENGL_API)) return false;
        const EGLint wanted[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT,
                                 EGL_NONE};
        EGLConfig config = nullptr;
        EGLint found = 0;
        if (!eglChooseConfig(display_, wanted, &config, 1, &found) || found == 0) return false;
        context_ = eglCreateContext(display_, config, EGL_NO_CONTEXT, nullptr);
        if (context_ == EGL_NO_CONTEXT) return false;
        const EGLint size[] = {EGL_WIDTH, 1, EGL_HEIGHT, 1, EGL_NONE};
        surface_ = eglCreatePbufferSurface(display_, config, size);
        return eglMakeCurrent(display_, surface_, surface_, context_);
    }

    ~egl_context() override {
        render::set_context_probe(nullptr);
        if (display_ == EGL_NO_DISPLAY) return;
        eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        if (surface_ != EGL_NO_SURFACE) eglDestroySurface(display_, surface_);
        if (context_ != EGL_NO_CONTEXT) eglDestroyContext(display_, context_);
        eglTerminate(display_);
    }

private:
    EGLDisplay display_ = EGL_NO_DISPLAY;
    EGLContext context_ = EGL_NO_CONTEXT;
    EGLSurface surface_ = EGL_NO_SURFACE;
};

EGLDisplay surfaceless_display() {
    const char* extensions = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
    if (!extensions || !std::strstr(extensions, "EGL_MESA_platform_surfaceless")) return EGL_NO_DISPLAY;
    const auto get =
        reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(eglGetProcAddress("eglGetPlatformDisplayEXT"));
    return get ? get(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr) : EGL_NO_DISPLAY;
}

} // namespace

std::unique_ptr<offscreen_context> offscreen_context::make() {
    for (const auto display : {+surfaceless_display, +[] { return eglGetDisplay(EGL_DEFAULT_DISPLAY); }}) {
        auto context = std::make_unique<egl_context>();
        if (!context->open(display())) continue;
        render::set_context_probe(is_current);
        if (render::load_gl()) return context;
    }
    return nullptr;
}

} // namespace tool
