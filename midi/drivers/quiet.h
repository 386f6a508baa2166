#pragma once
// Silences the sound libraries: their results say what goes wrong, and a missing sound service is no news.

#include <iostream>
#include <string>

namespace midi {

// Gives JACK, ALSA, FluidSynth and GLib loggers that write nothing. Called before the first use of any of
// them.
void quiet_sound_libraries();

// The first error that FluidSynth logs in this thread while it lives; empty while there is none.
class fluid_error {
public:
    fluid_error();
    ~fluid_error();
    fluid_error(const fluid_error&) = delete;
    fluid_error& operator=(const fluid_error&) = delete;

    // Without what comes before the reason.
    std::string reason() const;
    void note(const char* line) {
        if (line_.empty()) line_ = line;
    }

private:
    std::string line_;
};

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
