#pragma once
// How the times of two benchmarks of one program ought to compare.

#include "report.h"

#include <cstdint>
#include <string>
#include <vector>

namespace benchmarks {

// A promise, made by defining one beside the two benchmarks: `ours` takes at most `most` times what `peer`
// takes. The two are measured in turns, and what came of it is reported as a result. A limit that is named is
// the peer; otherwise it is the memory's, for the bytes that our benchmark counts in "bytes_moved".
class goal {
public:
    // What is compared: processor time, that time for a byte (both count theirs with SetBytesProcessed), or a
    // counter, named as it is.
    static constexpr const char *time = "", *time_per_byte = "bytes_per_second";

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

// Runs a benchmark with each of its arguments in turn and reports how its time grows with the number of
// things that it deals with: its items (SetItemsProcessed).
class growing {
public:
    struct terms {
        std::string what, things, name;
        std::vector<std::int64_t> arguments;
    };
    growing(terms);
};

} // namespace benchmarks
