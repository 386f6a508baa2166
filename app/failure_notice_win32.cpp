#include "app/failure_notice.h"

#include <conio.h>
#include <cstdlib>
#include <io.h>
#include <iostream>
#include <windows.h>

namespace quenvarel {

namespace {

bool shown = false;

void wait_for_key() {
    if (!shown || !is_double_clicked()) return;
    std::cout << "Press a key to close this window." << std::endl;
    _getch();
}

} // namespace

// A console that this program is alone with closes with it.
bool is_double_clicked() {
    DWORD processes[2];
    return GetConsoleProcessList(processes, 2) == 1 && _isatty(_fileno(stdout)) && _isatty(_fileno(stdin));
}

void watch_failures() {
    shown = true;
    std::atexit(wait_for_key);
}

void forget_failures() {
    shown = false;
}

} // namespace quenvarel
