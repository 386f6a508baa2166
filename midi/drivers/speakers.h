#pragma once
// The device "FluidSynth": a synthesizer on the loudspeakers, whatever happens to the sound systems.

#include "midi/driver.h"

#include <memory>

namespace midi {

// Plays through JACK when its server runs (it owns the sound card then), else PipeWire, PulseAudio or ALSA,
// whichever works first. When that one stops asking for sound, all are tried again, once a second, until one
// works. After several drop-outs its buffer gets twice as long, with one line on standard error; on JACK,
// whose period belongs to all programs, the line says how to change that. Each gets less than a second to
// answer; one that takes longer is left to a thread that nobody waits for, which is one line on standard
// error. When none works, one line names those that were tried.
result_t open_speakers(std::unique_ptr<output_device_t>& opened);

} // namespace midi
