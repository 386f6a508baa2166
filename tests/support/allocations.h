#pragma once
// For tests of code that must not allocate. A test program that uses this adds support/allocations.cpp to its
// sources; that file stands alone so that no compiler sees both ends of an allocation.

#include <cstddef>

namespace test_support {

// How often the calling thread has called operator new.
std::size_t allocations();

} // namespace test_support
