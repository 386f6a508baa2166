#pragma once
// How our times ought to compare with a peer's measured in the same run.

#include <string>

namespace benchmarks {

// A promise, made by defining a goal beside the two benchmarks: `ours` takes at most `most` times as long as
// `peer`, both named as the benchmarks are. Programs print after the run what became of it, for the goals
// whose benchmarks both ran. Of several repetitions the fastest counts: everything else is another program's
// doing.
struct goal {
    goal(std::string text, std::string ours, std::string peer, double most);
};

// The same promise for the time that a byte takes: both benchmarks count theirs (SetBytesProcessed).
struct goal_per_byte {
    goal_per_byte(std::string text, std::string ours, std::string peer, double most);
};

} // namespace benchmarks
