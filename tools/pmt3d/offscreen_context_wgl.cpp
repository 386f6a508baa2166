#include "offscreen_context.h"

#include "render/gl/step_check.h"

#include <windows.h>

namespace tool {

namespace {

class wgl_context : public offscreen_context {
public:
    bool open() {
        window_ = CreateWindowA("STATIC", "pmt3d", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
        device_ = window_ ? GetDC(window_) : nullptr;
        if (!device_) return false;
        PIXELFORMATDESCRIPTOR format = {};
        format.nSize = sizeof format;
        format.nVersion = 1;
        format.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL;
        format.iPixelType = PFD_TYPE_RGBA;
        format.cColorBits = 24;
        const int chosen = ChoosePixelFormat(device_, &format);
        if (chosen == 0 || !SetPixelFormat(device_, chosen, &format)) return false;
        context_ = wglCreateContext(device_);
        return context_ && wglMakeCurrent(device_, context_);
    }

    ~wgl_context() override {
        wglMakeCurrent(nullptr, nullptr);
        if (context_) wglDeleteContext(context_);
        if (device_) ReleaseDC(window_, device_);
        if (window_) DestroyWindow(window_);
    }

private:
    HWND window_ = nullptr;
    HDC device_ = nullptr;
    HGLRC context_ = nullptr;
};

} // namespace

std::unique_ptr<offscreen_context> offscreen_context::make() {
    auto context = std::make_unique<wgl_context>();
    if (!context->open() || !render::load_gl()) return nullptr;
    return context;
}

} // namespace tool
