#pragma once
// Announces the steps of long work, so that an error left behind elsewhere can be put down to one of them.

namespace libutils {

using step_watcher = void (*)(const char* label);

// Announces that the step with this label is done.
void step(const char* label);
// Who is told. Null, as at the start: nobody. Not while another thread announces steps.
void set_step_watcher(step_watcher watcher);

} // namespace libutils
