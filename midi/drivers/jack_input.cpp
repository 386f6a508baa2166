#include "midi/drivers/jack_port.h"
#include "midi/drivers/port_devices.h"

#include <jack/midiport.h>
#include <mutex>
#include <utility>

namespace midi {

namespace {

// Who takes what arrives.
class receiver_t {
public:
    virtual void arrived(const std::uint8_t* bytes, std::size_t length) = 0;
    virtual void tell(input_absence absence) = 0;

protected:
    ~receiver_t() = default;
};

class in_port : public jack_port {
public:
    in_port(std::string peer, receiver_t& receiver)
        : jack_port(peer_direction::from_peer, std::move(peer)),
          receiver_(&receiver) {}

    // Owner. The receiver is not called any more.
    void part() {
        leave();
        const std::lock_guard lock(mutex_);
        receiver_ = nullptr;
    }

private:
    void cycle(void* buffer, clock::duration) override {
        jack_midi_event_t event;
        for (std::uint32_t i = 0; jack_midi_event_get(&event, buffer, i) == 0; ++i)
            receiver_->arrived(event.buffer, event.size);
    }

    void peer_changed(input_absence absence) override {
        const std::lock_guard lock(mutex_);
        if (receiver_) receiver_->tell(absence);
    }

    std::mutex mutex_; // taken by JACK's thread and the owner
    receiver_t* receiver_;
};

class jack_input : public port_input, private receiver_t {
public:
    jack_input(const std::string& peer, input_sink_t& sink)
        : port_input(sink),
          port_(std::make_shared<in_port>(peer, static_cast<receiver_t&>(*this))) {}
    ~jack_input() override { port_->part(); }

    bool open() {
        if (!port_->open()) return false;
        sink_.receive(input_event::open, 0, 0);
        return true;
    }

    result_t close() override {
        port_->part();
        sink_.receive(input_event::close, 0, 0);
        return no_error;
    }

private:
    void arrived(const std::uint8_t* bytes, std::size_t length) override {
        port_input::arrived(bytes, length);
    }
    void tell(input_absence absence) override { port_input::tell(absence); }

    std::shared_ptr<in_port> port_;
};

} // namespace

result_t open_jack_input(const std::string& peer, input_sink_t& sink,
                         std::unique_ptr<input_device_t>& opened) {
    auto input = std::make_unique<jack_input>(peer, sink);
    if (!input->open()) return port_failed;
    opened = std::move(input);
    return no_error;
}

} // namespace midi
