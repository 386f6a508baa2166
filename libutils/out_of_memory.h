#pragma once
// The end of a program that gets no memory.

namespace libutils {

// From now on an allocation through operator new that cannot be had in this thread, main()'s, ends the
// process as a normal exit with status 1, so that at-exit functions still run, after the line "out of
// memory." on standard error. What fails while those run, or in another thread, throws as usual. Large arrays
// are not concerned: they are mapped, and whoever wants them is told that there is no room.
void end_when_out_of_memory() noexcept;

} // namespace libutils
