#pragma once
// What the benchmark programs have to say: a line for people on standard output, and for the table of ./bench
// the same as a JSON object on a line of the file that the environment variable QUENVAREL_BENCH_ROWS names,
// if it does.

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace benchmarks {

// What no program of the kind can beat.
struct bound {
    std::string kind; // empty if there is none to tell
    double value = 0; // as the results, if 0 the peer is it; of memory_traffic and cache_traffic in bytes
};
// What has to be read and written, at the speed of the memory or, where it is little, of the processor's own
// cache.
inline const std::string memory_traffic = "memory", cache_traffic = "cache";

struct result {
    explicit result(std::string of_what) : what(std::move(of_what)) {}

    std::string what;
    // Measured in turns, so that equal indices make a pair. Without a peer it is empty.
    std::vector<double> ours, peer;
    std::string peer_name;
    std::optional<double> most_ratio, most; // goals: for ours to the peer, for ours
    bound limit;
    std::string unit = "s";
    bool always = false; // the goal is for the worst, not for the median
};
// The ratio is the median of the pairs' ratios, with their quartiles.
void report(const result&);

// The time that each of `sizes` things takes when there are more and more of them.
struct growth {
    std::string what, things;
    std::vector<double> sizes;
    std::vector<std::vector<double>> seconds; // for a whole run of each size, measured in turns
};
void report(const growth&);

// Something about the machine that the results depend on.
void report_fact(const std::string& name, const std::string& value);

// The value below which the given part of the numbers lies; of at least one.
double quantile(std::vector<double> numbers, double part);
double median(std::vector<double> numbers);

} // namespace benchmarks
