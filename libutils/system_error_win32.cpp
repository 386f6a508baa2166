#include "libutils/system_error.h"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace libutils::system_error {

int last() noexcept {
    return int(GetLastError());
}

std::string text(int code) {
    char* message = nullptr;
    FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
                       FORMAT_MESSAGE_IGNORE_INSERTS,
                   nullptr, DWORD(code), MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                   reinterpret_cast<char*>(&message), 0, nullptr);
    std::string result = message ? message : "";
    LocalFree(message);
    return result;
}

void show(const char* text, const char* caption) {
    MessageBoxA(nullptr, text, caption, MB_OK);
}

void end_process(int code) noexcept {
    ExitProcess(UINT(code));
}

} // namespace libutils::system_error
