#pragma once
// FluidSynth as a module that takes MIDI messages as bytes.

#include "midi/drivers/roland_module.h"

#include <cstddef>
#include <cstdint>
#include <fluidsynth.h>
#include <memory>

namespace midi {

class synthesizer {
public:
    // With a SoundFont loaded; null when there is none that works. The rate is in frames in a second.
    static std::unique_ptr<synthesizer> make(double sample_rate);

    // One complete message.
    void message(const std::uint8_t* bytes, std::size_t length);
    // Releases all keys and pedals.
    void release_all();

    fluid_settings_t* settings() { return settings_.get(); }
    fluid_synth_t* synth() { return synth_.get(); }

private:
    synthesizer() = default;
    void set_reverb();

    template <auto Delete>
    struct deleter {
        template <class T>
        void operator()(T* object) const {
            Delete(object);
        }
    };
    std::unique_ptr<fluid_settings_t, deleter<delete_fluid_settings>> settings_;
    std::unique_ptr<fluid_synth_t, deleter<delete_fluid_synth>> synth_;
    roland_module module_;
};

} // namespace midi
