#include "midi/drivers/ports.h"

#include "midi/drivers/jack_list.h"
#include "midi/drivers/port_devices.h"

namespace midi {

namespace {

std::vector<listed_port> list(peer_direction direction) {
    std::vector<listed_port> ports;
    const auto jack = jack_ports(direction), alsa = alsa_ports(direction);
    if (jack)
        for (const std::string& name : *jack)
            ports.push_back({port_system::jack, name});
    if (alsa)
        for (const std::string& name : *alsa)
            ports.push_back({port_system::alsa, name});
    if (jack || alsa) ports.push_back({jack ? port_system::jack : port_system::alsa, ""});
    return ports;
}

result_t find_name(const std::vector<listed_port>& ports, std::uint32_t device, std::string& name) {
    if (device >= ports.size()) return port_failed;
    name = ports[device].peer.empty() ? "Virtual port" : ports[device].peer;
    return no_error;
}

} // namespace

std::uint32_t port_outputs::device_count() {
    ports_ = list(peer_direction::to_peer);
    return static_cast<std::uint32_t>(ports_.size());
}

result_t port_outputs::device_name(std::uint32_t device, std::string& name) {
    return find_name(ports_, device, name);
}

result_t port_outputs::open(std::uint32_t device, std::unique_ptr<output_device_t>& opened) {
    if (device >= ports_.size()) return port_failed;
    const listed_port& port = ports_[device];
    return port.system == port_system::jack ? open_jack_output(port.peer, opened)
                                            : open_alsa_output(port.peer, opened);
}

std::uint32_t port_inputs::device_count() {
    ports_ = list(peer_direction::from_peer);
    return static_cast<std::uint32_t>(ports_.size());
}

result_t port_inputs::device_name(std::uint32_t device, std::string& name) {
    return find_name(ports_, device, name);
}

result_t port_inputs::open(std::uint32_t device, input_sink_t& sink,
                           std::unique_ptr<input_device_t>& opened) {
    if (device >= ports_.size()) return port_failed;
    const listed_port& port = ports_[device];
    return port.system == port_system::jack ? open_jack_input(port.peer, sink, opened)
                                            : open_alsa_input(port.peer, sink, opened);
}

} // namespace midi
