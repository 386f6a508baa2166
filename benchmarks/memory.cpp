// What moving bytes costs on this machine, at the least.

#include "report.h"

#include <cstring>
#include <ctime>
#include <vector>

namespace {

// Of this process, in seconds: what others take of the processor does not make the memory slow.
double processor_time() {
    timespec now;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

// Copies over and over what has this size, and reports the bytes read and written in a second.
bool measure(const char* what, const std::string& kind, std::size_t size, int copies) {
    std::vector<unsigned char> from(size, 1), to(size, 2);
    benchmarks::result bandwidth(what);
    bandwidth.unit = "B/s";
    bandwidth.limit.kind = kind;
    for (unsigned char turn = 0; turn < 15; ++turn) {
        from[turn] = turn; // no copy is like the one before
        const double start = processor_time();
        for (int i = 0; i < copies; ++i) {
            std::memcpy(to.data(), from.data(), size);
            asm volatile("" : : "r"(to.data()) : "memory"); // nor left out
        }
        const double taken = processor_time() - start;
        if (to[turn] != turn) return false;
        bandwidth.ours.push_back(2.0 * double(size) * copies / taken);
    }
    benchmarks::report(bandwidth);
    return true;
}

} // namespace

int main() {
    return measure("moving bytes through the memory, one core", benchmarks::memory_traffic, 256 << 20, 1) &&
                   measure("moving bytes in the cache", benchmarks::cache_traffic, 256 << 10, 1000)
               ? 0
               : 1;
}
