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
        std::unique_ptr<rtmidi_output> output(new rtmidi_output(port));
        const result_t result = output->is_jack() ? output->join_jack() : output->open_alsa();
        if (result != no_error) return result;
        if (!output->connected_) return rtmidi_failed;
        opened = std::move(output);
        return no_error;
    }

    ~rtmidi_output() override { leave(); }

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
        if (is_jack() && !server_is_there()) return rtmidi_failed;
        return client_->checked([this] { client_->port().closePort(); });
    }

private:
    explicit rtmidi_output(const rtmidi_port& port) : port_(port) {}

    bool is_jack() const { return port_.api == rtmidi_api::jack; }
    bool server_is_there() const { return watch_ && !watch_->gone(); }

    result_t open_alsa() {
        client_ = rtmidi_client<RtMidiOut>::make(port_.api);
        if (!client_) return rtmidi_failed;
        connected_ = true;
        return client_->open(port_, own_port);
    }

    // Makes the port, and connects it if what it was chosen for is there.
    result_t join_jack() {
        watch_ = jack_watch::start();
        if (!watch_) return rtmidi_failed;
        client_ = rtmidi_client<RtMidiOut>::make(port_.api);
        if (!client_) return rtmidi_failed;
        const result_t result = client_->checked([this] { client_->port().openVirtualPort(own_port); });
        if (result != no_error) return result;
        if (!watch_->find_port(own_port)) return rtmidi_failed;
        connected_ = port_.is_virtual || watch_->connect(port_.name);
        return no_error;
    }

    void leave() {
        // Destroyed, it would wait a second for a server that will not answer.
        if (is_jack() && client_ && !server_is_there()) keep_for_ever(std::move(client_));
        client_.reset();
        watch_.reset();
    }

    static void keep_for_ever(std::unique_ptr<rtmidi_client<RtMidiOut>> client) {
        static auto& kept = *new std::vector<std::unique_ptr<rtmidi_client<RtMidiOut>>>;
        kept.push_back(std::move(client));
    }

    // Whether there is a server to send to, be it one that was started after ours had gone. The device that
    // was chosen may come back later still, and others may connect to the port meanwhile.
    bool is_in_jack() {
        if (server_is_there() && connected_) return true;
        if (tries_.due()) {
            if (server_is_there())
                connected_ = watch_->connect(port_.name);
            else {
                leave();
                if (join_jack() != no_error) leave();
            }
        }
        return server_is_there();
    }

    result_t send(const std::uint8_t* bytes, std::size_t length) {
        if (is_jack() && (length > longest_jack_message || !is_in_jack() || !watch_->admit(length)))
            return rtmidi_failed;
        return client_->checked([&] { client_->port().sendMessage(bytes, length); });
    }

    rtmidi_port port_;
    std::unique_ptr<jack_watch> watch_; // for JACK
    std::unique_ptr<rtmidi_client<RtMidiOut>> client_;
    bool connected_ = false;
    seldom tries_;
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
