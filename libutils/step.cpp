#include "libutils/step.h"

namespace libutils {

static step_watcher current_watcher = nullptr;

void step(const char* label) {
    if (current_watcher) current_watcher(label);
}

void set_step_watcher(step_watcher watcher) {
    current_watcher = watcher;
}

} // namespace libutils
