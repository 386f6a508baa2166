#include "midi/drivers/synthesizer.h"

#include "libutils/report.h"
#include "midi/drivers/quiet.h"
#include "midi/drivers/soundfont.h"
#include "midi/message.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <string>

namespace midi {

namespace {

// Loud enough beside other programs: middle C of the piano, struck as hard as can be, peaks near -10 dB of
// full scale. What is louder than full scale is limited.
constexpr double gain = 1.5;
constexpr int all_groups = -1, all_channels = -1, channels = 16;
constexpr int sustain_pedal = 64, reverb_send = 91;
// How much of a channel goes to the reverb when its controller is 0, as it is at first: enough that the
// reverb can be heard. The controller adds to that, so that a player who counts from 0 never turns it down
// first.
constexpr int least_reverb_send = 64, most_reverb_send = 127;

// What a module's reverb mode is to FluidSynth, whose parameters all go from 0 to 1: the room size of the
// shortest and of the longest time, how much the high tones are damped, how wide it is in stereo.
struct reverb_character {
    double shortest, longest, damping, width;
};
constexpr reverb_character reverb_characters[4] = {
    {0.3, 0.6, 0.6, 0.4},   // room
    {0.5, 0.8, 0.3, 1.0},   // hall
    {0.4, 0.75, 0.0, 0.7},  // plate
    {0.65, 0.85, 1.0, 0.0}, // tap delay, as far as a reverb can be one
};
// The lowest level is not silence, so that a change of mode or time is always heard.
constexpr double least_reverb = 0.25, most_reverb = 1.0;

int sent_to_reverb(int controller) {
    return least_reverb_send + controller * (most_reverb_send - least_reverb_send) / 127;
}

} // namespace

std::unique_ptr<synthesizer> synthesizer::make(double sample_rate) {
    quiet_sound_libraries();
    std::unique_ptr<synthesizer> made(new synthesizer(sample_rate));
    made->settings_.reset(new_fluid_settings());
    if (!made->settings_) return nullptr;
    fluid_settings_setnum(made->settings_.get(), "synth.sample-rate", sample_rate);
    fluid_settings_setnum(made->settings_.get(), "synth.gain", gain);
    made->synth_.reset(new_fluid_synth(made->settings_.get()));
    if (!made->synth_ || !made->load_soundfont()) return nullptr;
    made->set_reverb();
    for (int channel = 0; channel < channels; ++channel)
        fluid_synth_cc(made->synth(), channel, reverb_send, least_reverb_send);
    return made;
}

bool synthesizer::load_soundfont() {
    for (const std::filesystem::path& file : soundfonts_to_try()) {
        const auto facts = read_soundfont_facts(file);
        if (facts && !fits_into_memory(*facts)) {
            libutils::report(file.string(),
                             ": SoundFont too large for the memory: ", facts->samples / 1'000'000, " MB.");
        } else if (!facts || fluid_synth_sfload(synth(), file.c_str(), 1) == FLUID_FAILED) {
            libutils::report(file.string(), ": no SoundFont that can be played.");
        } else {
            soundfont_ = file;
            return true;
        }
    }
    return false;
}

void synthesizer::message(const std::uint8_t* bytes, std::size_t length) {
    const int channel = bytes[0] & 0x0F;
    switch (bytes[0] & 0xF0) {
    case 0x80:
        fluid_synth_noteoff(synth(), channel, bytes[1]);
        break;
    case 0x90:
        if (bytes[2] > 0)
            fluid_synth_noteon(synth(), channel, bytes[1], bytes[2]);
        else
            fluid_synth_noteoff(synth(), channel, bytes[1]);
        break;
    case 0xA0:
        fluid_synth_key_pressure(synth(), channel, bytes[1], bytes[2]);
        break;
    case 0xB0:
        fluid_synth_cc(synth(), channel, bytes[1],
                       bytes[1] == reverb_send ? sent_to_reverb(bytes[2]) : bytes[2]);
        break;
    case 0xC0:
        fluid_synth_program_change(synth(), channel, bytes[1]);
        break;
    case 0xD0:
        fluid_synth_channel_pressure(synth(), channel, bytes[1]);
        break;
    case 0xE0:
        fluid_synth_pitch_bend(synth(), channel, bytes[1] | bytes[2] << 7);
        break;
    default:
        if (bytes[0] == 0xFF)
            fluid_synth_system_reset(synth());
        else if (bytes[0] == sysex_begin)
            system_exclusive(bytes, length);
    }
}

void synthesizer::system_exclusive(const std::uint8_t* bytes, std::size_t length) {
    switch (module_.receive(bytes, length)) {
    case roland_module::change::reverb:
        return set_reverb();
    case roland_module::change::display:
        std::cout << module_.display() + '\n' << std::flush;
        return;
    default:
        fluid_synth_sysex(synth(), reinterpret_cast<const char*>(bytes + 1), static_cast<int>(length - 2),
                          nullptr, nullptr, nullptr, 0);
    }
}

void synthesizer::render_block() {
    fluid_synth_write_float(synth(), limiter::block, block_[0], 0, 1, block_[1], 0, 1);
    limiter_.process(block_[0], block_[1]);
    played_ = 0;
}

void synthesizer::render(int frames, float* left, float* right) {
    for (auto missing = static_cast<std::size_t>(frames); missing > 0;) {
        if (played_ == limiter::block) render_block();
        const std::size_t count = std::min(missing, limiter::block - played_);
        left = std::copy_n(block_[0] + played_, count, left);
        right = std::copy_n(block_[1] + played_, count, right);
        played_ += count;
        missing -= count;
    }
}

void synthesizer::skip() {
    render_block();
    played_ = limiter::block;
}

void synthesizer::release_all() {
    for (int channel = 0; channel < channels; ++channel)
        fluid_synth_cc(synth(), channel, sustain_pedal, 0);
    fluid_synth_all_notes_off(synth(), all_channels);
}

void synthesizer::set_rate(double sample_rate) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations" // it may click; there is no other way
    fluid_synth_set_sample_rate(synth(), static_cast<float>(sample_rate));
#pragma GCC diagnostic pop
    limiter_.set_rate(sample_rate);
}

void synthesizer::set_reverb() {
    const reverb_character& character = reverb_characters[module_.reverb_mode];
    const double room = std::lerp(character.shortest, character.longest, module_.reverb_time / 7.0);
    const double level = std::lerp(least_reverb, most_reverb, module_.reverb_level / 7.0);
    fluid_synth_set_reverb_group_roomsize(synth(), all_groups, room);
    fluid_synth_set_reverb_group_damp(synth(), all_groups, character.damping);
    fluid_synth_set_reverb_group_width(synth(), all_groups, character.width);
    fluid_synth_set_reverb_group_level(synth(), all_groups, level);
}

} // namespace midi
