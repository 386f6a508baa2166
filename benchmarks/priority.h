#pragma once
// Priorities for measuring on a busy machine.

#include <cstdio>
#include <sched.h>

namespace benchmarks {

enum class going_first { this_one, with_all_that_it_starts };

// The calling program goes before all others: alone, for a reader of answers that are to be measured; or with
// the threads and programs that it starts from here on, so that these are measured as on an idle machine.
inline void go_before_others(going_first who) {
    const sched_param first = {1};
    const int inherited = who == going_first::this_one ? SCHED_RESET_ON_FORK : 0;
    if (sched_setscheduler(0, SCHED_FIFO | inherited, &first) != 0)
        std::printf("Other programs disturb this one: no right to go first.\n");
}

} // namespace benchmarks
