#include "support/allocations.h"

#include <cstdlib>
#include <new>

std::size_t test_support::allocations = 0;

void* operator new(std::size_t size) {
    ++test_support::allocations;
    if (void* memory = std::malloc(size ? size : 1)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
