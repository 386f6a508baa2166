#pragma once
// The command line: [-c ch] [-p pgm] [-n notebase] [-l vel] <device>, and options with two dashes before the
// device

#include "app/announcement_options.h"

#include <cstdint>
#include <iosfwd>
#include <vector>

namespace quenvarel {

struct options_t {
    std::uint32_t channel = 1;    // 0-based MIDI channel, 0..15
    std::uint32_t program = 0;    // 0..127
    std::uint32_t notebase = 36;  // note number of offset 0 of the key map, 0..127
    std::uint32_t velocity = 127; // 0..127
    bool program_given = false;
    bool by_places = false; // the notes lie at places, not at characters
    announcement_options says;
    std::vector<const char*> inputs; // as typed, each part of one of argv
    const char* soundfont = nullptr; // a file, one of argv
    const char* device = nullptr;    // the device argument as typed, one of argv
};

enum class options_result {
    complete,
    usage,          // no device, or an option without a value
    refused,        // a value out of range, which has been reported on standard error
    unknown_option, // an option with two dashes that does not exist or does not take that value, reported
                    // likewise
    help,           // --help
    version,        // --version
    inputs,         // --input=list
};

// Reads the arguments after argv[0]. Values are numbers in strtoul's base 0 notation of 32 bits on every
// system: larger ones become 4294967295 and a minus sign wraps. Options with two dashes are one word,
// "--name" or
// "--name=value". Arguments after the device are left alone.
options_result read_options(int argc, const char* const* argv, options_t& options);

// The options with two dashes, a line each.
void list_options(std::ostream& out);

} // namespace quenvarel
