#pragma once
// Shared by the ports of JACK and ALSA: outputs that send one complete message at a time, and
// inputs that deliver as the Windows services do.

#include "midi/driver.h"
#include "midi/drivers/jack_list.h"
#include "midi/message.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace midi {

constexpr result_t port_failed = 1, buffer_in_use = 65; // as the Windows services number them

// Messages are checked: what is not a complete one is refused. A long one may come in pieces.
class port_output : public output_device_t {
public:
    result_t short_message(std::uint32_t message) final {
        const short_bytes_t unpacked = unpack(message);
        if (!unpacked.length) return port_failed;
        if (unpacked.bytes[0] < first_realtime) unfinished_.forget();
        return send(unpacked.bytes, unpacked.length);
    }

    // Fails when a message cannot be sent, and when bytes belong to none.
    result_t long_message(const std::uint8_t* bytes, std::size_t length) final {
        result_t result = no_error;
        const bool all = unfinished_.read(bytes, length, [&](const std::uint8_t* message, std::size_t count) {
            const result_t sent = send(message, count);
            if (result == no_error) result = sent;
        });
        return all ? result : port_failed;
    }

private:
    virtual result_t send(const std::uint8_t* bytes, std::size_t length) = 0;

    message_reader unfinished_;
};

// Delivers short messages packed, and system exclusive bytes in the buffer that is queued; nothing before
// start, and times counted from there.
class port_input : public input_device_t {
public:
    result_t start() override;
    result_t prepare(input_buffer_t&) override { return no_error; }
    result_t queue(input_buffer_t& buffer) override;
    result_t stop() override;
    result_t reset() override;
    result_t unprepare(input_buffer_t& buffer) override;

protected:
    explicit port_input(input_sink_t& sink) : sink_(sink) { unfinished_.reserve(); }

    // Bytes from the cable. Called on one thread of the service; allocates nothing.
    void arrived(const std::uint8_t* bytes, std::size_t length);
    // What the device has lost, or that it is back.
    void tell(input_absence absence);

    input_sink_t& sink_;

private:
    using clock = std::chrono::steady_clock;
    void deliver_long(const std::uint8_t* bytes, std::size_t length);
    void deliver(input_buffer_t& buffer);
    std::uintptr_t milliseconds() const;

    message_reader unfinished_;
    std::atomic<bool> running_{false};
    std::atomic<input_buffer_t*> queued_{nullptr};
    clock::time_point started_;
};

// The names of ALSA's ports; nothing when its sequencer is not there.
std::optional<std::vector<std::string>> alsa_ports(peer_direction direction);

// An empty name opens a port that others connect to.
result_t open_jack_output(const std::string& peer, std::unique_ptr<output_device_t>& opened);
result_t open_jack_input(const std::string& peer, input_sink_t& sink,
                         std::unique_ptr<input_device_t>& opened);
result_t open_alsa_output(const std::string& peer, std::unique_ptr<output_device_t>& opened);
result_t open_alsa_input(const std::string& peer, input_sink_t& sink,
                         std::unique_ptr<input_device_t>& opened);

} // namespace midi
