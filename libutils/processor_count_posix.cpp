#include "libutils/parallel.h"

#include <algorithm>
#include <thread>

#ifdef __linux__
#include <sched.h>
#endif

namespace libutils {

unsigned processor_count() {
#ifdef __linux__
    cpu_set_t allowed;
    if (sched_getaffinity(0, sizeof allowed, &allowed) == 0)
        return unsigned(std::max(1, CPU_COUNT(&allowed)));
#endif
    return std::max(1u, std::thread::hardware_concurrency());
}

} // namespace libutils
