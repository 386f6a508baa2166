#include "app/interrupt.h"

#include <atomic>
#include <csignal>

#include <windows.h>

namespace quenvarel {

namespace {

void (*leave_program)() = nullptr;
std::atomic<bool> requested = false;
std::atomic<bool> noticed = false;

// Runs on a thread of its own.
void on_signal(int number) {
    std::signal(number, on_signal); // delivery has reset it
    if (requested.exchange(true) && !noticed) ExitProcess(STATUS_CONTROL_C_EXIT);
    leave_program();
}

BOOL WINAPI on_console_event(DWORD event) {
    if (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT) return FALSE;
    leave_program();
    // The system ends the process when this returns; the main thread is ending it properly meanwhile.
    Sleep(INFINITE);
    return TRUE;
}

} // namespace

void install_interrupt_handler(void (*leave)()) {
    leave_program = leave;
    std::signal(SIGINT, on_signal);
    std::signal(SIGBREAK, on_signal);
    SetConsoleCtrlHandler(on_console_event, TRUE);
}

void interrupts_are_noticed() {
    noticed = true;
}

} // namespace quenvarel
