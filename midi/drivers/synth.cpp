#include "midi/drivers/synth.h"

#include "midi/drivers/jack_watch.h"
#include "midi/drivers/quiet.h"
#include "midi/drivers/recorder.h"
#include "midi/drivers/synthesizer.h"
#include "midi/drivers/wav_recording.h"
#include "midi/message.h"

#include <chrono>
#include <iostream>
#include <thread>
#include <utility>

namespace midi {

namespace {

constexpr result_t cannot_open = 1, bad_message = 2;

// What the module would show.
class display {
public:
    void receive(const std::uint8_t* bytes, std::size_t length) {
        if (module_.receive(bytes, length) == roland_module::change::display)
            std::cout << module_.display() << std::endl;
    }

private:
    roland_module module_;
};

// The ways to the loudspeakers. A period is the number of frames rendered at once; what waits to be heard is
// periods of them, which is as little as each is known to stand.
struct audio_driver {
    const char* name;
    int period, periods;
};
constexpr audio_driver jack_driver{"jack", 64, 2}; // JACK has its own period
constexpr audio_driver audio_drivers[] = {
    {"pipewire", 128, 2},
    {"pulseaudio", 256, 2},
    {"alsa", 128, 3},
};
constexpr double speaker_rate = 48000; // what sound cards run at, so that nothing resamples

class speakers : public output_device_t {
public:
    ~speakers() override { speakers::close(); }

    bool open() {
        synth_ = synthesizer::make(speaker_rate);
        if (!synth_) return false;
        fluid_settings_setint(synth_->settings(), "audio.jack.autoconnect", 1);
        fluid_settings_setstr(synth_->settings(), "audio.jack.id", "quenvarel");
        if (join_jack()) return true;
        for (const audio_driver& driver : audio_drivers)
            if (start(driver)) return true;
        return false;
    }

    result_t short_message(std::uint32_t message) override {
        const short_bytes_t unpacked = unpack(message);
        if (!unpacked.length) return bad_message;
        look_for_jack();
        synth_->message(unpacked.bytes, unpacked.length);
        return no_error;
    }

    result_t long_message(const std::uint8_t* bytes, std::size_t length) override {
        look_for_jack();
        each_message(bytes, length, [this](const std::uint8_t* message, std::size_t count) {
            synth_->message(message, count);
            display_.receive(message, count);
        });
        return no_error;
    }

    result_t close() override {
        if (!driver_) return no_error;
        // Cut off at once, whatever sounds would click.
        synth_->release_all();
        for (float part = 0.75f; part >= 0; part -= 0.25f) {
            fluid_synth_set_gain(synth_->synth(), part * fluid_synth_get_gain(synth_->synth()));
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        delete_fluid_audio_driver(std::exchange(driver_, nullptr));
        return no_error;
    }

private:
    bool start(const audio_driver& driver) {
        fluid_settings_setstr(synth_->settings(), "audio.driver", driver.name);
        fluid_settings_setint(synth_->settings(), "audio.period-size", driver.period);
        fluid_settings_setint(synth_->settings(), "audio.periods", driver.periods);
        driver_ = new_fluid_audio_driver(synth_->settings(), synth_->synth());
        return driver_ != nullptr;
    }

    bool join_jack() {
        watch_ = jack_watch::start(); // FluidSynth would start a server
        if (watch_ && start(jack_driver)) return true;
        watch_.reset();
        return false;
    }

    // A server that is started after ours has gone is sounded through. Until then the messages keep the
    // synthesizer up to date, and what they would let sound is not kept for later.
    void look_for_jack() {
        if (watch_ && watch_->gone()) {
            watch_.reset();
            lost_jack_ = true;
            tries_.due(); // not now: FluidSynth may just be hearing of it, in a thread of JACK's
        }
        if (!lost_jack_) return;
        fluid_synth_all_sounds_off(synth_->synth(), -1);
        if (tries_.due()) {
            delete_fluid_audio_driver(std::exchange(driver_, nullptr));
            lost_jack_ = !join_jack();
            if (!lost_jack_) return;
        }
        // Nobody renders, but what waits for it must not pile up.
        constexpr int frames = 64;
        float unheard[2][frames];
        fluid_synth_write_float(synth_->synth(), frames, unheard[0], 0, 1, unheard[1], 0, 1);
    }

    std::unique_ptr<synthesizer> synth_;
    fluid_audio_driver_t* driver_ = nullptr;
    std::unique_ptr<jack_watch> watch_; // of the server that is sounded through
    bool lost_jack_ = false;
    seldom tries_;
    display display_;
};

class wav_file : public recorder {
public:
    using recorder::recorder;

    result_t long_message(const std::uint8_t* bytes, std::size_t length) override {
        each_message(bytes, length, [this](const std::uint8_t* message, std::size_t count) {
            display_.receive(message, count);
        });
        return recorder::long_message(bytes, length);
    }

private:
    display display_;
};

result_t open_speakers(std::unique_ptr<output_device_t>& opened) {
    auto device = std::make_unique<speakers>();
    if (!device->open()) return cannot_open;
    opened = std::move(device);
    return no_error;
}

result_t open_wav(std::unique_ptr<output_device_t>& opened) {
    auto synth = synthesizer::make(wav_recording::sample_rate);
    if (!synth) return cannot_open;
    auto recording = std::make_unique<wav_recording>();
    if (!recording->create(std::move(synth))) return cannot_open;
    opened = std::make_unique<wav_file>(std::move(recording));
    return no_error;
}

} // namespace

std::uint32_t synth_outputs::device_count() {
    return find_soundfont().empty() ? 0 : 2;
}

result_t synth_outputs::device_name(std::uint32_t device, std::string& name) {
    name = device == 0 ? "FluidSynth" : "FluidSynth to WAV";
    return no_error;
}

result_t synth_outputs::open(std::uint32_t device, std::unique_ptr<output_device_t>& opened) {
    return device == 0 ? open_speakers(opened) : open_wav(opened);
}

} // namespace midi
