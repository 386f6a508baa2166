#pragma once
// The hook of every diagnostic, and the fatal report of an operating system error.

#include <string>

namespace libutils {

// Called before each diagnostic. It does nothing: it is the one place for a breakpoint on all diagnostics.
void error_report() noexcept;

// Ends the process because of the operating system's last error, or the given one: shows
// "NAME failed with error CODE: TEXT" in a message box captioned "Error" where there is one (on standard
// error elsewhere) and ends with CODE as exit status, at once: no destructors and no at-exit functions run.
[[noreturn]] void error_exit(const char* name);
[[noreturn]] void error_exit(const char* name, int code);

// Shows the fatal text. Replaceable, so that a program without a desktop does not wait for a message box to
// be answered. Null restores the system's own way. Returns the previous one.
using fatal_presenter = void (*)(const char* text, const char* caption);
fatal_presenter set_fatal_presenter(fatal_presenter presenter) noexcept;

} // namespace libutils
