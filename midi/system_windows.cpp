#include "midi/system.h"

#include "midi/drivers/winmm.h"
#include "midi/soundfont.h"

namespace midi {

// The services are never destroyed: a port is closed by an exit handler, when static objects are gone
// already.
output_service_t& system_outputs() {
    static output_service_t& all = *new winmm_outputs;
    return all;
}

input_service_t& system_inputs() {
    static input_service_t& all = *new winmm_inputs;
    return all;
}

// The system's devices bring their own sounds.
bool prefer_soundfont(const std::string&) {
    return false;
}

void add_soundfont_directory(const std::string&) {}

bool lacks_soundfont() {
    return false;
}

std::string soundfont_name() {
    return {};
}

} // namespace midi
