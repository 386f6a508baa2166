#pragma once
// Watches the threads that render sound: what memory they ask for, and how long other threads keep locks that
// they need. Linked into a test, it takes the place of the system's functions.

#include <atomic>
#include <chrono>

namespace test_support {

struct sound_thread_watch {
    std::atomic<int> periods{0}; // rendered
    std::atomic<int> allocations{
        0}; // of memory, or releases, by our code, not counting a thread's first period
    std::atomic<int> allocations_by_fluidsynth{0}, releases_by_fluidsynth{0}; // likewise
    std::atomic<int> locks{0}, waits{0}; // taken, and found to be another thread's
    // The longest time that another thread has worked while it had a lock that they take.
    std::atomic<std::chrono::nanoseconds::rep> longest_held{0};
};

extern sound_thread_watch& sound_threads;

} // namespace test_support
