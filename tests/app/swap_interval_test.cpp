// Swaps do not wait for the display: else the next key would wait too. The display servers of tests have no
// swap interval, so this program pretends to have one.

#include "app/window_system.h"
#include "support/gl_context.h"

#include <GL/glx.h>
#include <dlfcn.h>
#include <string_view>

namespace {

bool pretending = false;
int interval = 1;

template <class Function>
Function real(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

TEST(window_system, swaps_do_not_wait) {
    ASSERT_TRUE(test_support::make_context_current());
    pretending = true;
    const auto window = gems::window_system::of_current_window();
    pretending = false;
    EXPECT_EQ(interval, 0);
}

} // namespace

// In front of the library's own.

extern "C" const char* glXQueryExtensionsString(Display* display, int screen) {
    if (pretending) return "GLX_EXT_swap_control_tear GLX_EXT_swap_control";
    return real<decltype(&glXQueryExtensionsString)>("glXQueryExtensionsString")(display, screen);
}

extern "C" __GLXextFuncPtr glXGetProcAddressARB(const GLubyte* name) {
    if (pretending && std::string_view(reinterpret_cast<const char*>(name)) == "glXSwapIntervalEXT")
        return reinterpret_cast<__GLXextFuncPtr>(
            +[](Display*, GLXDrawable, int frames) { interval = frames; });
    return real<decltype(&glXGetProcAddressARB)>("glXGetProcAddressARB")(name);
}
