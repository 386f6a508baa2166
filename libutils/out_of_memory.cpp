#include "libutils/out_of_memory.h"

#include "libutils/error_report.h"

#include <cstdlib>
#include <iostream>
#include <new>

namespace libutils {

void end_when_out_of_memory() noexcept {
    std::set_new_handler([] {
        std::set_new_handler(nullptr);
        error_report();
        std::cerr << "out of memory." << std::endl;
        std::exit(1);
    });
}

} // namespace libutils
