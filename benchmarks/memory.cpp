// What the main memory of this machine can do, and what else the results depend on.

#include "report.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <vector>

int main() {
    using clock = std::chrono::steady_clock;
    constexpr std::size_t size = 256 << 20; // larger than any cache
    std::vector<unsigned char> from(size, 1), to(size, 2);
    benchmarks::result bandwidth("reading and writing memory, one core");
    bandwidth.unit = "B/s";
    for (unsigned char turn = 0; turn < 15; ++turn) {
        from[turn] = turn; // so that no copy is like the one before
        const auto start = clock::now();
        std::memcpy(to.data(), from.data(), size);
        const std::chrono::duration<double> taken = clock::now() - start;
        if (to[turn] != turn) return 1;
        bandwidth.ours.push_back(2.0 * size / taken.count());
    }
    benchmarks::report(bandwidth);
}
