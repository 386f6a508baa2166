#pragma once
// Goals: how two benchmarks of one program should compare.

#include "report.h"

#include <cstdint>
#include <string>
#include <vector>

namespace benchmarks {

// Define one beside the two benchmarks: `ours` takes at most `most` times as long as `peer`. Both are
// measured in processor time, or with UseRealTime(), for work on several threads, in time that passes. The
// two run in turns, and the comparison is reported as a result. If a limit is named, the peer is the limit;
// otherwise it is the memory's speed for the bytes that our benchmark counts in "bytes_moved".
class goal {
public:
    // What is compared: processor time, processor time per byte (both call SetBytesProcessed), the seconds in
    // a counter of that name (for work in several processes), or any other counter by its name.
    static constexpr const char *time = "", *time_per_byte = "bytes_per_second",
                                *time_of_processes = "time_of_processes";

    struct terms {
        std::string what;
        std::string ours, peer; // benchmarks, named with their arguments: "load/100"
        std::string peer_name;
        std::optional<double> most = {};
        std::string limit = {};
        std::string compared = time;
    };
    goal(terms);
};

// Runs a benchmark with each of its arguments in turn and reports how its time grows with its number of items
// (SetItemsProcessed).
class growing {
public:
    struct terms {
        std::string what, things, name;
        std::vector<std::int64_t> arguments;
    };
    growing(terms);
};

} // namespace benchmarks
