#include "midi/system.h"

#include "midi/drivers/fluidsynth_outputs.h"
#include "midi/drivers/joined.h"
#include "midi/drivers/ports.h"
#include "midi/drivers/smf.h"

namespace midi {

// The services are never destroyed: a port is closed by an exit handler, when static objects are gone
// already.
output_service_t& system_outputs() {
    static joined_outputs& all = *[] {
        auto* joined = new joined_outputs;
        joined->add(std::make_unique<port_outputs>());
        joined->add(std::make_unique<fluidsynth_outputs>());
        joined->add(std::make_unique<smf_outputs>());
        return joined;
    }();
    return all;
}

input_service_t& system_inputs() {
    static input_service_t& all = *new port_inputs;
    return all;
}

} // namespace midi
