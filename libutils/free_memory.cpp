#include "libutils/free_memory.h"

#include <cstdlib>
#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace libutils {

void give_back_free_memory() {
#ifdef __GLIBC__
    malloc_trim(0);
#endif
}

} // namespace libutils
