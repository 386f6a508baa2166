#include "midi/drivers/alsa_client.h"
#include "midi/drivers/alsa_watch.h"
#include "midi/drivers/port_devices.h"

#include <utility>

namespace midi {

namespace {

constexpr const char* own_port = "out";

class alsa_output : public port_output {
public:
    static result_t open(const std::string& peer, std::unique_ptr<output_device_t>& opened) {
        std::unique_ptr<alsa_output> output(new alsa_output);
        output->client_ = alsa_client<RtMidiOut>::make();
        if (!output->client_) return port_failed;
        const result_t result = output->client_->open(peer, own_port);
        if (result != no_error) return result;
        if (!peer.empty())
            output->watch_ = alsa_watch::start(peer_direction::to_peer, own_port, peer, [](input_absence) {});
        opened = std::move(output);
        return no_error;
    }

    result_t close() override {
        watch_.reset();
        return client_->checked([this] { client_->port().closePort(); });
    }

private:
    alsa_output() = default;

    // Also while the peer has gone: others may have connected to the port.
    result_t send(const std::uint8_t* bytes, std::size_t length) override {
        const result_t result = client_->checked([&] { client_->port().sendMessage(bytes, length); });
        return watch_ && !watch_->is_there() ? port_failed : result;
    }

    std::unique_ptr<alsa_client<RtMidiOut>> client_;
    std::unique_ptr<alsa_watch> watch_; // null for the virtual port
};

} // namespace

std::optional<std::vector<std::string>> alsa_ports(peer_direction direction) {
    if (direction == peer_direction::to_peer) {
        const auto client = alsa_client<RtMidiOut>::make();
        return client ? std::optional(client->port_names()) : std::nullopt;
    }
    const auto client = alsa_client<RtMidiIn>::make();
    return client ? std::optional(client->port_names()) : std::nullopt;
}

result_t open_alsa_output(const std::string& peer, std::unique_ptr<output_device_t>& opened) {
    return alsa_output::open(peer, opened);
}

} // namespace midi
