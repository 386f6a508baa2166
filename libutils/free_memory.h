#pragma once

namespace libutils {

// Gives memory that is free in the heap back to the system, where the C library can. Takes a few milliseconds
// at most.
void give_back_free_memory();

} // namespace libutils
