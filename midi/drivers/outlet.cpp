#include "midi/drivers/outlet.h"

#include "midi/drivers/jack_session.h"
#include "midi/drivers/quiet.h"

#include <algorithm>
#include <jack/jack.h>
#include <string_view>
#include <thread>
#include <utility>

namespace midi {

namespace {

// Longer than any system leaves between two periods, drop-outs included. PulseAudio may take two seconds to
// begin.
constexpr std::chrono::seconds patience{1}, patience_at_first{3};
constexpr int first_periods = 5;
// Of those that sound systems are asked for.
constexpr std::chrono::milliseconds longest_period{50};
// FluidSynth's queue holds the events of some more messages. What nobody asks for in time is rendered for
// nobody.
constexpr int most_waiting = 200;

bool is_jack(const sound_system& system) {
    return std::string_view(system.name) == "jack";
}

bool has_ports(jack_client_t* client, unsigned long flags) {
    const char** const ports = jack_get_ports(client, nullptr, JACK_DEFAULT_AUDIO_TYPE, flags);
    jack_free(ports);
    return ports;
}

} // namespace

void sound_source::message(const std::uint8_t* bytes, std::size_t length) {
    synth_->message(bytes, length);
    if (++waiting_ < most_waiting) return;
    // Whoever plays may wait. The sound thread may not, so nothing is rendered here while it is at work.
    while (waiting_ >= most_waiting && clock::now().time_since_epoch() - rendered_.load() < longest_period)
        std::this_thread::sleep_for(std::chrono::microseconds(500));
    if (waiting_ < most_waiting) return;
    const std::lock_guard lock(rendering_);
    synth_->skip();
    waiting_ = 0;
}

void sound_source::fade() {
    for (float part = 0.75f; part >= 0; part -= 0.25f) {
        fluid_synth_set_gain(synth_->synth(), part * fluid_synth_get_gain(synth_->synth()));
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

void sound_source::let_in(const outlet* heard) {
    const std::lock_guard lock(rendering_);
    heard_ = heard;
    if (heard->rate() == rate_) return;
    rate_ = heard->rate();
    synth_->set_rate(rate_);
}

void sound_source::shut_out(const outlet* heard) {
    const std::lock_guard lock(rendering_);
    if (heard_ == heard) heard_ = nullptr;
}

void sound_source::render(const outlet& asking, int frames, float* left, float* right) {
    const std::lock_guard lock(rendering_);
    if (heard_ == &asking) {
        const auto now = clock::now().time_since_epoch();
        if (now - rendered_.load() > patience) fluid_synth_all_sounds_off(synth_->synth(), -1);
        rendered_ = now;
        waiting_ = 0;
        synth_->render(frames, left, right);
    } else {
        std::fill_n(left, frames, 0.0f);
        std::fill_n(right, frames, 0.0f);
    }
}

std::unique_ptr<outlet> outlet::open(const sound_system& system, std::shared_ptr<sound_source> source,
                                     std::string& reason) {
    quiet_sound_libraries();
    double rate = synthesizer::speaker_rate;
    int period = system.period;
    if (is_jack(system)) {
        // FluidSynth would start one. This client is closed before FluidSynth has its own: JACK can stand
        // still when a client closes while another one comes or goes.
        const auto jack = jack_session::open("quenvarel-look");
        const bool can_play = jack && has_ports(jack->client(), JackPortIsInput | JackPortIsPhysical);
        if (!can_play) {
            reason = jack ? no_playback_ports : "no server";
            return nullptr;
        }
        rate = jack_get_sample_rate(jack->client()); // JACK does not resample
        period = static_cast<int>(jack_get_buffer_size(jack->client()));
    }
    const fluid_error error;
    std::unique_ptr<outlet> made(new outlet(std::move(source), rate, period, system.periods - 1));
    made->settings_.reset(new_fluid_settings());
    fluid_settings_t* const settings = made->settings_.get();
    if (!settings) return nullptr;
    fluid_settings_setnum(settings, "synth.sample-rate", rate);
    fluid_settings_setint(settings, "audio.jack.autoconnect", 1);
    fluid_settings_setstr(settings, "audio.jack.id", "quenvarel");
    fluid_settings_setstr(settings, "audio.driver", system.name);
    fluid_settings_setint(settings, "audio.period-size", system.period);
    fluid_settings_setint(settings, "audio.periods", system.periods);
    made->driver_.reset(new_fluid_audio_driver2(settings, asked, made.get()));
    reason = error.reason();
    return made->driver_ ? std::move(made) : nullptr;
}

outlet::~outlet() = default;

int outlet::asked(void* self, int frames, int, float**, int, float** channels) {
    outlet& asking = *static_cast<outlet*>(self);
    const auto now = clock::now();
    ++asking.periods_;
    asking.last_asked_ = now.time_since_epoch();
    asking.drop_outs_.ask(now);
    uninterrupted([&] { asking.source_->render(asking, frames, channels[0], channels[1]); });
    return FLUID_OK;
}

bool outlet::plays() const {
    const auto limit = periods_ < first_periods ? patience_at_first : patience;
    return clock::now().time_since_epoch() - last_asked_.load() < limit;
}

} // namespace midi
