// The box that ends a Windows program, with its button pressed by the test.

#include "libutils/error_report.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace {

// Prints the caption and the text of the box that is about to appear, and answers it.
LRESULT CALLBACK press_ok(int code, WPARAM window, LPARAM) {
    if (code == HCBT_ACTIVATE) {
        const HWND box = HWND(window);
        char caption[100] = "", text[1000] = "";
        GetWindowTextA(box, caption, sizeof caption);
        // The text is the one static control that is no icon.
        GetDlgItemTextA(box, 0xFFFF, text, sizeof text);
        std::fprintf(stderr, "[%s] %s\n", caption, text);
        std::fflush(stderr);
        PostMessageA(box, WM_COMMAND, IDOK, 0);
    }
    return 0;
}

TEST(error_exit, shows_a_message_box) {
    EXPECT_EXIT(
        {
            SetWindowsHookExA(WH_CBT, press_ok, nullptr, GetCurrentThreadId());
            SetLastError(ERROR_SHARING_VIOLATION);
            libutils::error_exit("alloc_mmap_win::allocate()");
        },
        testing::ExitedWithCode(ERROR_SHARING_VIOLATION),
        "\\[Error\\] alloc_mmap_win::allocate\\(\\) failed with error 32: .+");
}

} // namespace
