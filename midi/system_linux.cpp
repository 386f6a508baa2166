#include "midi/system.h"

#include "midi/drivers/joined.h"

namespace midi {

// The services are never destroyed: a port is closed by an exit handler, when static objects are gone
// already.
output_service_t& system_outputs() {
    static joined_outputs& all = *new joined_outputs;
    return all;
}

input_service_t& system_inputs() {
    static joined_inputs& all = *new joined_inputs;
    return all;
}

} // namespace midi
