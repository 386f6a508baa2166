#pragma once
// The MIDI ports of JACK, then those of ALSA, then "Virtual port": a port of our own that others connect to,
// on JACK when its server runs, else on ALSA. A service that does not run has no ports; without
// either there is no virtual port. An open port that disappears is connected again when it returns.

#include "midi/driver.h"

#include <string>
#include <vector>

namespace midi {

enum class port_system { jack, alsa };

struct listed_port {
    port_system system;
    std::string peer; // empty for the virtual port
};

class port_outputs : public output_service_t {
public:
    std::uint32_t device_count() override;
    result_t device_name(std::uint32_t device, std::string& name) override;
    result_t open(std::uint32_t device, std::unique_ptr<output_device_t>& opened) override;

private:
    std::vector<listed_port> ports_; // as last counted; a port is found again by its name
};

class port_inputs : public input_service_t {
public:
    std::uint32_t device_count() override;
    result_t device_name(std::uint32_t device, std::string& name) override;
    result_t open(std::uint32_t device, input_sink_t& sink, std::unique_ptr<input_device_t>& opened) override;

private:
    std::vector<listed_port> ports_;
};

} // namespace midi
