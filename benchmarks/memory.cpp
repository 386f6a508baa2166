// The least that moving bytes costs on this machine.

#include "report.h"

#include <cstring>
#include <ctime>
#include <vector>

namespace {

// Processor time of this process, in seconds: other programs' share of the processor is not the memory's
// fault.
double processor_time() {
    timespec now;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

// Copies a block of this size repeatedly and reports the bytes read and written per second.
bool measure(const char* what, const std::string& kind, std::size_t size, int copies) {
    std::vector<unsigned char> from(size, 1), to(size, 2);
    benchmarks::result bandwidth(what);
    bandwidth.unit = "B/s";
    bandwidth.limit.kind = kind;
    for (unsigned char turn = 0; turn < 15; ++turn) {
        from[turn] = turn; // so that no two copies are alike
        const double start = processor_time();
        for (int i = 0; i < copies; ++i) {
            std::memcpy(to.data(), from.data(), size);
            asm volatile("" : : "r"(to.data()) : "memory"); // and none is optimised away
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
