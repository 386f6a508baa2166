#include "libutils/out_of_memory.h"

#include "libutils/error_report.h"

#include <cstdio>
#include <cstdlib>
#include <new>
#include <thread>

namespace libutils {

void end_when_out_of_memory() noexcept {
    static const std::thread::id main_thread = std::this_thread::get_id();
    std::set_new_handler([] {
        // The end waits for the other threads, so none of them can bring it about.
        if (std::this_thread::get_id() != main_thread) throw std::bad_alloc();
        std::set_new_handler(nullptr);
        error_report();
        // Not through std::cerr, which is closed while a sound library is kept quiet.
        std::fputs("out of memory.\n", stderr);
        std::exit(1);
    });
}

} // namespace libutils
