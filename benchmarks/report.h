#pragma once
// How the benchmark programs report: a line for people on standard output and, if the environment variable
// QUENVAREL_BENCH_ROWS names a file, the same as a JSON object on a line of that file, for the table of
// ./bench.

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace benchmarks {

// The limit that no such program can beat.
struct bound {
    std::string kind; // empty: unknown
    double value =
        0; // in the unit of the results (0: the peer is the limit); bytes for the two kinds of traffic
};
// The bytes that must be read and written, at the speed of the memory or, where they fit, of the cache.
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
    bool always = false; // the goal applies to the slowest run, not to the median
};
// The ratio is the median of the pairs' ratios, with their quartiles.
void report(const result&);

// How the time for each thing changes as their number grows.
struct growth {
    std::string what, things;
    std::vector<double> sizes;
    std::vector<std::vector<double>> seconds; // for a whole run of each size, measured in turns
};
void report(const growth&);

// All times of one program, for a graph that has those of others, too.
struct distribution {
    std::string what, name;
    std::vector<double> seconds;
};
void report(const distribution&);

// A fact about the machine on which the results depend.
void report_fact(const std::string& name, const std::string& value);

// The value below which the given part of the numbers lies. Needs at least one number.
double quantile(std::vector<double> numbers, double part);
double median(std::vector<double> numbers);

} // namespace benchmarks
