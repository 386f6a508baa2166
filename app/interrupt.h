#pragma once
// The user's wish, from outside the window, that the program ends: Ctrl-C and what the system sends for it.

namespace quenvarel {

// From now on Ctrl-C calls leave, which must be safe in a signal handler and on any thread; so do, on Linux,
// SIGTERM and the terminal's hang-up, on Windows, Ctrl-Break and the closing of the console. Until
// interrupts_are_noticed() a second one ends the process at once, so that a start that hangs can be broken
// off.
void install_interrupt_handler(void (*leave)());

// The program has come to where it acts on leave.
void interrupts_are_noticed();

} // namespace quenvarel
