#pragma once
// What the programs of General MIDI are called.

namespace quenvarel {

// Both are masked to their ranges. The tenth channel (9) is that of the drums.
const char* instrument_name(int channel, int program);

} // namespace quenvarel
