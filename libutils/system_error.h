#pragma once
// The operating system's error numbers and texts, and the two calls that end a process.

#include <string>

namespace libutils::system_error {

// The number of the last failed call: errno, or GetLastError() on Windows.
int last() noexcept;
// The system's own text for it; on Windows it ends with a line end.
std::string text(int code);
// A message box with an OK button; one line on standard error where there is no such thing.
void show(const char* text, const char* caption);
// Ends the process without running any more of its code.
[[noreturn]] void end_process(int code) noexcept;

} // namespace libutils::system_error
