#pragma once
// Shares large work among threads, all of which end before the call does.

#include <cstdint>
#include <functional>

namespace libutils {

// How work is shared: among so many threads, in pieces of about so many bytes.
struct sharing {
    unsigned threads = 1;
    std::uint64_t piece = std::uint64_t(1) << 20;
};

// For work on so many bytes of a file: one thread below 4 MiB, otherwise one for each processor that the
// process may run on, 16 at most.
sharing sharing_for(std::uint64_t bytes);

// While one exists sharing_for() returns this, whatever the size. For tests.
class fixed_sharing {
public:
    explicit fixed_sharing(const sharing& fixed);
    ~fixed_sharing();
    fixed_sharing(const fixed_sharing&) = delete;
    fixed_sharing& operator=(const fixed_sharing&) = delete;
};

// Calls work(thread) on so many threads at once, number 0 being the caller, and waits for all. Where the
// system has no more threads, fewer take part. What a thread throws is thrown again here.
void on_threads(unsigned threads, const std::function<void(unsigned thread)>& work);

// Calls work(piece, thread) once for each piece from 0 on; pieces begin in ascending order, and the caller
// takes part as thread 0. The first exception ends it all as soon as the pieces that have begun are done.
void for_each_piece(unsigned threads, std::uint64_t pieces,
                    const std::function<void(std::uint64_t piece, unsigned thread)>& work);

// The processors that this process may run on, at least 1.
unsigned processor_count();

} // namespace libutils
