#include "support/allocations.h"

#include <cstdlib>
#include <new>

namespace {
thread_local std::size_t made = 0;
}

std::size_t test_support::allocations() {
    return made;
}

std::size_t test_support::allocations_before_failure = no_failure;

bool test_support::next_allocation_fails() {
    return allocations_before_failure != no_failure && allocations_before_failure-- == 0;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++made;
    return test_support::next_allocation_fails() ? nullptr : std::malloc(size ? size : 1);
}
void* operator new(std::size_t size) {
    if (void* memory = operator new(size, std::nothrow)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
