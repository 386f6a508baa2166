#include "midi/drivers/quiet.h"

#include <alsa/asoundlib.h>
#include <fluidsynth.h>
#include <jack/jack.h>

namespace midi {

namespace {

void no_jack_line(const char*) {}
void no_alsa_line(const char*, int, const char*, int, const char*, ...) {}
void no_fluid_line(int, const char*, void*) {}

} // namespace

void quiet_sound_libraries() {
    [[maybe_unused]] static const bool once = [] {
        jack_set_error_function(no_jack_line);
        jack_set_info_function(no_jack_line);
        snd_lib_error_set_handler(no_alsa_line);
        for (int level = FLUID_PANIC; level <= FLUID_DBG; ++level)
            fluid_set_log_function(level, no_fluid_line, nullptr);
        return true;
    }();
}

} // namespace midi
