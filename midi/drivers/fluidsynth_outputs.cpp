#include "midi/drivers/fluidsynth_outputs.h"

#include "midi/drivers/recorder.h"
#include "midi/drivers/soundfont.h"
#include "midi/drivers/speakers.h"
#include "midi/drivers/wav_recording.h"

#include <utility>

namespace midi {

namespace {

constexpr result_t cannot_open = 1;

result_t open_wav(std::unique_ptr<output_device_t>& opened) {
    auto synth = synthesizer::make(wav_recording::sample_rate);
    if (!synth) return cannot_open;
    announce_soundfont(synth->soundfont());
    auto recording = std::make_unique<wav_recording>();
    if (!recording->create(std::move(synth))) return cannot_open;
    return recorder::open(std::move(recording), opened);
}

} // namespace

std::uint32_t fluidsynth_outputs::device_count() {
    return lacks_soundfont() ? 0 : 2;
}

result_t fluidsynth_outputs::device_name(std::uint32_t device, std::string& name) {
    name = device == 0 ? "FluidSynth" : "FluidSynth to WAV";
    return no_error;
}

result_t fluidsynth_outputs::open(std::uint32_t device, std::unique_ptr<output_device_t>& opened) {
    return device == 0 ? open_speakers(opened) : open_wav(opened);
}

} // namespace midi
