#pragma once
// The MIDI services of the system that the program runs on. They outlive every exit handler.

#include "midi/driver.h"

namespace midi {

// Windows: the multimedia services' output devices. Linux: the ports of JACK, then those of ALSA, then
// "Virtual port" (others connect to us; listed while JACK or ALSA is there), then, while a SoundFont is
// installed, "FluidSynth" and "FluidSynth to WAV", then "MIDI file".
output_service_t& system_outputs();

// Windows: the multimedia services' input devices. Linux: the ports of JACK, then those of ALSA, then
// "Virtual port".
input_service_t& system_inputs();

} // namespace midi
