#include "midi/drivers/quiet.h"

#include <alsa/asoundlib.h>
#include <dlfcn.h>
#include <fluidsynth.h>
#include <jack/jack.h>

namespace midi {

namespace {

void no_jack_line(const char*) {}
void no_alsa_line(const char*, int, const char*, int, const char*, ...) {}
void no_fluid_line(int, const char*, void*) {}

void no_glib_line(const char*, int, const char*, void*) {}

// Where FluidSynth reads other kinds of files with a library that reports through GLib, it has brought GLib
// along.
void quiet_glib() {
    void* const found = dlsym(RTLD_DEFAULT, "g_log_set_default_handler");
    using handler = decltype(&no_glib_line);
    if (found) reinterpret_cast<handler (*)(handler, void*)>(found)(no_glib_line, nullptr);
}

} // namespace

void quiet_sound_libraries() {
    [[maybe_unused]] static const bool once = [] {
        jack_set_error_function(no_jack_line);
        jack_set_info_function(no_jack_line);
        snd_lib_error_set_handler(no_alsa_line);
        for (int level = FLUID_PANIC; level <= FLUID_DBG; ++level)
            fluid_set_log_function(level, no_fluid_line, nullptr);
        quiet_glib();
        return true;
    }();
}

} // namespace midi
