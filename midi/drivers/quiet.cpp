#include "midi/drivers/quiet.h"

#include <alsa/asoundlib.h>
#include <dlfcn.h>
#include <fluidsynth.h>
#include <jack/jack.h>
#include <string_view>

namespace midi {

namespace {

void no_jack_line(const char*) {}
void no_alsa_line(const char*, int, const char*, int, const char*, ...) {}
thread_local fluid_error* listening = nullptr;
void no_fluid_line(int level, const char* line, void*) {
    if (level <= FLUID_ERR && listening) listening->note(line);
}

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

fluid_error::fluid_error() {
    listening = this;
}

fluid_error::~fluid_error() {
    listening = nullptr;
}

std::string fluid_error::reason() const {
    if (line_.find("the requested audio driver") != std::string::npos) return "not in this FluidSynth";
    constexpr std::string_view before = "failed with error: ";
    const std::size_t found = line_.rfind(before);
    return found == std::string::npos ? line_ : line_.substr(found + before.size());
}

} // namespace midi
