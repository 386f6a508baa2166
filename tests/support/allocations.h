#pragma once
// For tests of code that must not allocate, or that must bear allocations that fail. A test program that uses
// this adds support/allocations.cpp to its sources; that file stands alone so that no compiler sees both ends
// of an allocation.

#include <cstddef>

namespace test_support {

// How often the calling thread has called operator new.
std::size_t allocations();

// So many calls of operator new, and of what else asks next_allocation_fails(), still succeed before a single
// one fails.
inline constexpr std::size_t no_failure = -1;
extern std::size_t allocations_before_failure;
bool next_allocation_fails();

} // namespace test_support
