#include "app/interrupt.h"

#include <atomic>

#include <windows.h>

namespace quenvarel {

namespace {

void (*leave_program)() = nullptr;
std::atomic<bool> requested = false;
std::atomic<bool> noticed = false;

// Runs on a thread of its own.
BOOL WINAPI on_console_event(DWORD event) {
    const bool again = requested.exchange(true);
    leave_program();
    if (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT) {
        if (again && !noticed) ExitProcess(STATUS_CONTROL_C_EXIT);
        return TRUE;
    }
    // The system ends the process when this returns; the main thread is ending it properly meanwhile.
    Sleep(INFINITE);
    return TRUE;
}

} // namespace

void install_interrupt_handler(void (*leave)()) {
    leave_program = leave;
    SetConsoleCtrlHandler(on_console_event, TRUE);
}

void interrupts_are_noticed() {
    noticed = true;
}

} // namespace quenvarel
