#pragma once
// Where every diagnostic passes, and the end of the process after a failure of the operating system.

#include <string>

namespace libutils {

// Called before each diagnostic is written. It does nothing: it is the one place for a breakpoint that stops
// at whatever is about to be reported.
void error_report() noexcept;

// Ends the process because of the operating system's last error, or of the one given: shows
// "NAME failed with error CODE: TEXT" in a message box captioned "Error" where there is one (on standard
// error elsewhere) and ends with CODE as exit status, at once: no destructors and no at-exit functions run.
[[noreturn]] void error_exit(const char* name);
[[noreturn]] void error_exit(const char* name, int code);

// Shows the fatal text; replaceable, so that a program without a desktop need not wait for an answer to a
// box. Null restores the system's own way. Returns what was set before (null for the system's own way).
using fatal_presenter = void (*)(const char* text, const char* caption);
fatal_presenter set_fatal_presenter(fatal_presenter presenter) noexcept;

} // namespace libutils
