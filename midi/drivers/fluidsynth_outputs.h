#pragma once
// The built-in synthesizer: FluidSynth with a General MIDI SoundFont, and the reverb and the display of an
// MT-32 class module.

#include "midi/driver.h"

namespace midi {

// Two devices, listed while there is a SoundFont to try. The one that is played is one line on standard
// output when a device is opened.
//
// "FluidSynth" plays on the loudspeakers.
//
// "FluidSynth to WAV" renders into quenvarel.wav, or the next free numbered name, in the working directory:
// 16-bit stereo at 44100 Hz from the moment the device was opened until the last note has died away after it
// was closed. The file's header is brought up to date every half second and at the end; recording stops at 4
// GB.
//
// Reverb messages set FluidSynth's reverb. A display text is one line on standard output.
class fluidsynth_outputs : public output_service_t {
public:
    std::uint32_t device_count() override;
    result_t device_name(std::uint32_t device, std::string& name) override;
    result_t open(std::uint32_t device, std::unique_ptr<output_device_t>& opened) override;
};

} // namespace midi
