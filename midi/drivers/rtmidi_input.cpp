#include "midi/drivers/rtmidi.h"

#include "midi/drivers/rtmidi_client.h"
#include "midi/message.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <utility>

namespace midi {

namespace {

constexpr result_t buffer_in_use = 65; // what the Windows services call it

// Delivers as the Windows services do: short messages packed, system exclusive bytes in the buffer that is
// queued, nothing before start, times counted from there.
class rtmidi_input : public input_device_t {
public:
    static result_t open(const rtmidi_port& port, input_sink_t& sink,
                         std::unique_ptr<input_device_t>& opened) {
        if (port.api == rtmidi_api::jack && !jack_server_runs()) return rtmidi_failed;
        std::unique_ptr<rtmidi_input> input(new rtmidi_input(sink));
        input->client_ = rtmidi_client<RtMidiIn>::make(port.api);
        if (!input->client_) return rtmidi_failed;
        input->client_->port().ignoreTypes(false, false, false);
        input->client_->port().setCallback(&arrived, input.get());
        const result_t result = input->client_->open(port, "in");
        if (result != no_error) return result;
        sink.receive(input_event::open, 0, 0);
        opened = std::move(input);
        return no_error;
    }

    result_t start() override {
        started_ = clock::now();
        running_ = true;
        return no_error;
    }
    result_t prepare(input_buffer_t&) override { return no_error; }
    result_t queue(input_buffer_t& buffer) override {
        queued_ = &buffer;
        return no_error;
    }
    result_t stop() override {
        running_ = false;
        return no_error;
    }
    result_t reset() override {
        if (input_buffer_t* buffer = queued_.exchange(nullptr)) {
            buffer->recorded = 0;
            deliver(*buffer);
        }
        return no_error;
    }
    result_t unprepare(input_buffer_t& buffer) override {
        return queued_ == &buffer ? buffer_in_use : no_error;
    }
    result_t close() override {
        // Waits for a callback that is running.
        client_.reset();
        sink_.receive(input_event::close, 0, 0);
        return no_error;
    }

private:
    using clock = std::chrono::steady_clock;
    explicit rtmidi_input(input_sink_t& sink) : sink_(sink) {}

    static void arrived(double, std::vector<unsigned char>* bytes, void* self) {
        auto& input = *static_cast<rtmidi_input*>(self);
        if (!input.running_) return;
        each_message(bytes->data(), bytes->size(), [&](const std::uint8_t* message, std::size_t length) {
            if (message[0] == sysex_begin)
                input.deliver_long(message, length);
            else
                input.sink_.receive(input_event::data, pack(message, length), input.milliseconds());
        });
    }

    // In as many pieces as buffers come back; without one the rest is lost.
    void deliver_long(const std::uint8_t* bytes, std::size_t length) {
        while (length > 0 && running_) {
            input_buffer_t* buffer = queued_.exchange(nullptr);
            if (!buffer) return;
            const std::size_t piece = std::min<std::size_t>(length, buffer->length);
            std::memcpy(buffer->bytes, bytes, piece);
            buffer->recorded = static_cast<std::uint32_t>(piece);
            bytes += piece;
            length -= piece;
            deliver(*buffer);
        }
    }

    void deliver(input_buffer_t& buffer) {
        sink_.receive(input_event::long_data, reinterpret_cast<std::uintptr_t>(&buffer), milliseconds());
    }

    std::uintptr_t milliseconds() const {
        const auto elapsed = clock::now() - started_;
        return static_cast<std::uintptr_t>(
            std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count());
    }

    input_sink_t& sink_;
    std::atomic<bool> running_{false};
    std::atomic<input_buffer_t*> queued_{nullptr};
    clock::time_point started_;
    std::unique_ptr<rtmidi_client<RtMidiIn>> client_;
};

} // namespace

std::uint32_t rtmidi_inputs::device_count() {
    ports_ = rtmidi_ports<RtMidiIn>(jack_direction::from_port);
    return static_cast<std::uint32_t>(ports_.size());
}

result_t rtmidi_inputs::device_name(std::uint32_t device, std::string& name) {
    if (device >= ports_.size()) return rtmidi_failed;
    name = ports_[device].name;
    return no_error;
}

result_t rtmidi_inputs::open(std::uint32_t device, input_sink_t& sink,
                             std::unique_ptr<input_device_t>& opened) {
    return device < ports_.size() ? rtmidi_input::open(ports_[device], sink, opened) : rtmidi_failed;
}

} // namespace midi
