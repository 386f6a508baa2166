#pragma once
// FluidSynth as a module that takes MIDI messages as bytes.

#include "midi/drivers/limiter.h"
#include "midi/drivers/roland_module.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fluidsynth.h>
#include <memory>

namespace midi {

// Owns an object of FluidSynth's.
template <auto Delete>
struct fluid_deleter {
    template <class T>
    void operator()(T* object) const {
        Delete(object);
    }
};
template <class T, auto Delete>
using fluid_deleted = std::unique_ptr<T, fluid_deleter<Delete>>;

class synthesizer {
public:
    // What sound cards run at, so that nothing resamples.
    static constexpr double speaker_rate = 48000;

    // With the first SoundFont loaded that works; one line on standard error for each that does not. Null
    // when none works. The rate is in frames in a second.
    static std::unique_ptr<synthesizer> make(double sample_rate);

    // One complete message. A text for the module's display is one line on standard output.
    void message(const std::uint8_t* bytes, std::size_t length);
    // The next frames of each channel, below full scale, 1.
    void render(int frames, float* left, float* right);
    // Renders a block of them that nobody hears.
    void skip();
    // The sound has another number of frames in a second from here on.
    void set_rate(double sample_rate);
    // Releases all keys and pedals.
    void release_all();

    // The file that is played.
    const std::filesystem::path& soundfont() const { return soundfont_; }
    fluid_synth_t* synth() { return synth_.get(); }

private:
    explicit synthesizer(double sample_rate) : limiter_(sample_rate) {}
    bool load_soundfont();
    void render_block();
    void system_exclusive(const std::uint8_t* bytes, std::size_t length);
    void set_reverb();

    fluid_deleted<fluid_settings_t, delete_fluid_settings> settings_;
    fluid_deleted<fluid_synth_t, delete_fluid_synth> synth_;
    std::filesystem::path soundfont_;
    roland_module module_;
    limiter limiter_;
    // What was rendered last. FluidSynth, too, renders as many frames at once, whatever it is asked for.
    float block_[2][limiter::block] = {};
    std::size_t played_ = limiter::block; // of the block
};

} // namespace midi
