#include "app/failure_notice.h"

#include <conio.h>
#include <cstdlib>
#include <io.h>
#include <iostream>
#include <windows.h>

namespace quenvarel {

namespace {

bool shown = false;

// A console that this program is alone with closes with it.
bool has_console_of_its_own() {
    DWORD processes[2];
    return GetConsoleProcessList(processes, 2) == 1 && _isatty(_fileno(stdout)) && _isatty(_fileno(stdin));
}

void wait_for_key() {
    if (!shown || !has_console_of_its_own()) return;
    std::cout << "Press a key to close this window." << std::endl;
    _getch();
}

} // namespace

void watch_failures() {
    shown = true;
    std::atexit(wait_for_key);
}

void forget_failures() {
    shown = false;
}

} // namespace quenvarel
