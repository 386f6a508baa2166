#pragma once
// Steps of long work, announced to whoever watches for errors that were left behind elsewhere.

namespace libutils {

using step_watcher = void (*)(const char* label);

// Announces that the step with this label is done.
void step(const char* label);
// Who is told. Null, as at the start: nobody. Not while another thread announces steps.
void set_step_watcher(step_watcher watcher);

} // namespace libutils
