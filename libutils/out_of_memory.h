#pragma once
// Ends a program that runs out of memory.

namespace libutils {

// From now on, a failing operator new in this thread, main()'s, ends the process: it writes the line "out of
// memory." to standard error and exits with status 1, so that at-exit functions still run. Failures during
// those functions, or in another thread, throw as usual. Large arrays are not affected: they are mapped, and
// their allocation returns false.
void end_when_out_of_memory() noexcept;

} // namespace libutils
