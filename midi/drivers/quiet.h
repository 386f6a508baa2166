#pragma once
// Silences the sound libraries: their results say what goes wrong, and a missing sound service is no news.

#include <iostream>

namespace midi {

// Gives JACK, ALSA, FluidSynth and GLib loggers that write nothing. Called before the first use of any of
// them.
void quiet_sound_libraries();

// Nothing that is written to std::cerr while it lives comes out.
class quiet_errors {
public:
    quiet_errors() : before_(std::cerr.rdbuf(nullptr)) {}
    ~quiet_errors() {
        std::cerr.rdbuf(before_); // clears the error state, too
    }
    quiet_errors(const quiet_errors&) = delete;
    quiet_errors& operator=(const quiet_errors&) = delete;

private:
    std::streambuf* before_;
};

} // namespace midi
