#pragma once
// One way to the loudspeakers: a connection to one sound system, which asks for sound in a thread of its own.

#include "midi/drivers/drop_outs.h"
#include "midi/drivers/synthesizer.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <fluidsynth.h>
#include <memory>
#include <mutex>
#include <string>

namespace midi {

class outlet;

// A synthesizer that several outlets may ask for sound, of which one hears it. The others play silence.
// Messages always reach the synthesizer; notes played while nobody asks for sound are not heard late. The
// thread that renders allocates nothing and takes no lock that another one works under.
class sound_source {
public:
    explicit sound_source(std::unique_ptr<synthesizer> synth) : synth_(std::move(synth)) {}

    void message(const std::uint8_t* bytes, std::size_t length);
    // Turns the volume down to nothing, in 40 ms.
    void fade();

    // From here on this outlet hears the synthesizer.
    void let_in(const outlet* heard);
    // From here on it does not, if it did.
    void shut_out(const outlet* heard);
    // Fills the channels for the outlet that asks.
    void render(const outlet& asking, int frames, float* left, float* right);

private:
    using clock = std::chrono::steady_clock;

    std::unique_ptr<synthesizer> synth_;
    std::mutex rendering_; // held by whoever renders
    const outlet* heard_ = nullptr;
    double rate_ = synthesizer::speaker_rate;
    std::atomic<clock::duration> rendered_{clock::now().time_since_epoch()};
    std::atomic<int> waiting_{0}; // messages since then
};

// Why JACK cannot play.
constexpr char no_playback_ports[] = "no playback ports";

// A sound system as FluidSynth names it. A period is the number of frames rendered at once; periods of them
// wait to be heard. At first they are as short as they can be on a machine that is fast enough.
struct sound_system {
    const char* name;
    int period, periods;
};

class outlet {
public:
    // Null when the system does not work; then the reason says why. Waits for the system as long as it likes,
    // and so does the destructor.
    static std::unique_ptr<outlet> open(const sound_system& system, std::shared_ptr<sound_source> source,
                                        std::string& reason);
    ~outlet();
    outlet(const outlet&) = delete;
    outlet& operator=(const outlet&) = delete;

    // Whether the system has asked for sound lately.
    bool plays() const;
    // Frames in a second.
    double rate() const { return rate_; }
    // Drop-outs since the last call.
    int take_drop_outs() { return drop_outs_.take(); }
    // Frames that are rendered at once: those of the system or, on JACK, of the server when this was opened.
    int period() const { return period_; }

private:
    using clock = std::chrono::steady_clock;

    // Periods that wait to be heard while the next one is rendered: `others`.
    outlet(std::shared_ptr<sound_source> source, double rate, int period, int others)
        : source_(std::move(source)),
          rate_(rate),
          period_(period),
          drop_outs_(std::chrono::duration<double>(period / rate), others) {}
    static int asked(void* self, int frames, int, float**, int, float** channels);

    const std::shared_ptr<sound_source> source_;
    const double rate_;
    const int period_;
    drop_outs drop_outs_;
    std::atomic<std::uint64_t> periods_{0}; // asked for so far
    std::atomic<clock::duration> last_asked_{clock::now().time_since_epoch()};
    fluid_deleted<fluid_settings_t, delete_fluid_settings> settings_;
    fluid_deleted<fluid_audio_driver_t, delete_fluid_audio_driver> driver_;
};

} // namespace midi
