#include "midi/drivers/alsa_client.h"
#include "midi/drivers/alsa_watch.h"
#include "midi/drivers/port_devices.h"

#include <utility>

namespace midi {

namespace {

constexpr const char* own_port = "in";

class alsa_input : public port_input {
public:
    static result_t open(const std::string& peer, input_sink_t& sink,
                         std::unique_ptr<input_device_t>& opened) {
        std::unique_ptr<alsa_input> input(new alsa_input(sink));
        input->client_ = alsa_client<RtMidiIn>::make();
        if (!input->client_) return port_failed;
        input->client_->port().ignoreTypes(false, false, false);
        input->client_->port().setCallback(
            [](double, std::vector<unsigned char>* bytes, void* self) {
                static_cast<alsa_input*>(self)->arrived(bytes->data(), bytes->size());
            },
            input.get());
        const result_t result = input->client_->open(peer, own_port);
        if (result != no_error) return result;
        sink.receive(input_event::open, 0, 0);
        if (!peer.empty())
            input->watch_ =
                alsa_watch::start(peer_direction::from_peer, own_port, peer,
                                  [self = input.get()](input_absence absence) { self->tell(absence); });
        opened = std::move(input);
        return no_error;
    }

    result_t close() override {
        watch_.reset();
        client_.reset(); // waits for a callback that is running
        sink_.receive(input_event::close, 0, 0);
        return no_error;
    }

private:
    using port_input::port_input;

    std::unique_ptr<alsa_client<RtMidiIn>> client_;
    std::unique_ptr<alsa_watch> watch_; // null for the virtual port
};

} // namespace

result_t open_alsa_input(const std::string& peer, input_sink_t& sink,
                         std::unique_ptr<input_device_t>& opened) {
    return alsa_input::open(peer, sink, opened);
}

} // namespace midi
