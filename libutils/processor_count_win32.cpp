#include "libutils/parallel.h"

#include <bit>
#include <windows.h>

namespace libutils {

unsigned processor_count() {
    DWORD_PTR allowed = 0, present = 0;
    if (!GetProcessAffinityMask(GetCurrentProcess(), &allowed, &present) || allowed == 0) return 1;
    return unsigned(std::popcount(allowed));
}

} // namespace libutils
