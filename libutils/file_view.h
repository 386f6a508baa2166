#pragma once
// Keeps the process alive when a mapped file is truncated or its disk fails.

#include <atomic>
#include <cstdint>

namespace libutils::mapping {

// A view of a file. While it is watched, unreadable bytes become zeros instead of ending the process. It must
// not move in memory, because it is in a list.
struct file_view {
    char* begin = nullptr; // null: nothing is watched
    std::uint64_t size = 0;
    std::atomic<bool> has_hole{false}; // some of the bytes have become zeros
    file_view* next = nullptr;
};

// Begins and ends watching `size` bytes from `begin`. Ending without a beginning does nothing.
void watch(file_view& view, void* begin, std::uint64_t size);
void unwatch(file_view& view);

// ---- For the implementations of each system

// The watched view that contains the address, or null. Waits only for watch() and unwatch() in other threads,
// so fault handlers may call it.
file_view* watched_view_at(const void* address);
// Installs the handler of such faults. Called once.
void expect_holes();

} // namespace libutils::mapping
