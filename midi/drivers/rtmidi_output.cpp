#include "midi/drivers/rtmidi.h"

#include "midi/drivers/rtmidi_client.h"
#include "midi/message.h"

#include <utility>
#include <vector>

namespace midi {

namespace {

constexpr const char* own_port = "out";
// RtMidi's buffer for JACK, less what it adds; longer messages vanish in it.
constexpr std::size_t longest_jack_message = 16379;

class rtmidi_output : public output_device_t {
public:
    static result_t open(const rtmidi_port& port, std::unique_ptr<output_device_t>& opened) {
        std::unique_ptr<rtmidi_output> output(new rtmidi_output);
        if (port.api == rtmidi_api::jack) {
            output->watch_ = jack_watch::start();
            if (!output->watch_) return rtmidi_failed;
        }
        output->client_ = rtmidi_client<RtMidiOut>::make(port.api);
        if (!output->client_) return rtmidi_failed;
        const result_t result = output->client_->open(port, own_port);
        if (result != no_error) return result;
        if (output->watch_ &&
            !output->watch_->find_port(own_port, port.is_virtual ? std::string() : port.name))
            return rtmidi_failed;
        opened = std::move(output);
        return no_error;
    }

    ~rtmidi_output() override {
        // Destroyed, it would wait a second for a server that will not answer.
        if (server_is_gone()) keep_for_ever(std::move(client_));
    }

    result_t short_message(std::uint32_t message) override {
        const short_bytes_t unpacked = unpack(message);
        return unpacked.length ? send(unpacked.bytes, unpacked.length) : rtmidi_failed;
    }

    result_t long_message(const std::uint8_t* bytes, std::size_t length) override {
        result_t result = no_error;
        each_message(bytes, length, [&](const std::uint8_t* message, std::size_t count) {
            const result_t sent = send(message, count);
            if (result == no_error) result = sent;
        });
        return result;
    }

    result_t close() override {
        if (server_is_gone()) return rtmidi_failed;
        return client_->checked([this] { client_->port().closePort(); });
    }

private:
    rtmidi_output() = default;

    bool server_is_gone() const { return watch_ && watch_->gone(); }

    static void keep_for_ever(std::unique_ptr<rtmidi_client<RtMidiOut>> client) {
        static auto& kept = *new std::vector<std::unique_ptr<rtmidi_client<RtMidiOut>>>;
        kept.push_back(std::move(client));
    }

    result_t send(const std::uint8_t* bytes, std::size_t length) {
        if (watch_ && (length > longest_jack_message || !watch_->admit(length))) return rtmidi_failed;
        return client_->checked([&] { client_->port().sendMessage(bytes, length); });
    }

    std::unique_ptr<jack_watch> watch_; // for JACK
    std::unique_ptr<rtmidi_client<RtMidiOut>> client_;
};

} // namespace

std::uint32_t rtmidi_outputs::device_count() {
    ports_ = rtmidi_ports<RtMidiOut>(jack_direction::to_port);
    return static_cast<std::uint32_t>(ports_.size());
}

result_t rtmidi_outputs::device_name(std::uint32_t device, std::string& name) {
    if (device >= ports_.size()) return rtmidi_failed;
    name = ports_[device].name;
    return no_error;
}

result_t rtmidi_outputs::open(std::uint32_t device, std::unique_ptr<output_device_t>& opened) {
    return device < ports_.size() ? rtmidi_output::open(ports_[device], opened) : rtmidi_failed;
}

} // namespace midi
