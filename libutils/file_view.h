#pragma once
// Views of files that other programs may cut short, or that a failing disk no longer gives.

#include <atomic>
#include <cstdint>

namespace libutils::mapping {

// A view of a file while it is watched: what cannot be read of it becomes zeros instead of ending the
// process. Stays where it is in memory, as it is listed.
struct file_view {
    char* begin = nullptr; // null: nothing is watched
    std::uint64_t size = 0;
    std::atomic<bool> has_hole{false}; // zeros have come in the place of the file's bytes
    file_view* next = nullptr;
};

// Begin and end of the watch over `size` bytes from `begin`. Views that are not watched may be given back
// too.
void watch(file_view& view, void* begin, std::uint64_t size);
void unwatch(file_view& view);

// ---- For the systems' own parts

// The watched view that the address lies in; null when it is in none. Waits for nothing but another thread's
// watch() or unwatch(), so that whoever is told of a fault may call it.
file_view* watched_view_at(const void* address);
// Lets the process be told of such faults from now on. Called once.
void expect_holes();

} // namespace libutils::mapping
