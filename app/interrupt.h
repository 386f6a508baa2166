#pragma once
// Requests to end the program that come from outside its window: Ctrl-C and its like.

namespace quenvarel {

// From now on Ctrl-C calls leave, which must be safe in a signal handler and on any thread. So do SIGTERM and
// SIGHUP on Linux, and Ctrl-Break and the closing of the console on Windows. Until interrupts_are_noticed() a
// second request ends the process at once, so that a start that hangs can be aborted.
void install_interrupt_handler(void (*leave)());

// The program now acts on leave.
void interrupts_are_noticed();

} // namespace quenvarel
