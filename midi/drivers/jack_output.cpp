#include "midi/drivers/jack_port.h"
#include "midi/drivers/port_devices.h"

#include <algorithm>
#include <jack/midiport.h>
#include <jack/ringbuffer.h>
#include <thread>
#include <utility>

namespace midi {

namespace {

// Carries messages from the player to JACK's cycles. What one cycle has no room for goes into the next.
// Messages are lost, and sending them fails, while no server runs or nobody is connected, when the server has
// stood still for longest_gap (those that were waiting, too), and when they are longer than the buffer of a
// cycle. Before anything else goes out then, the keys and the pedal of each channel that has lost something
// are released.
class out_port : public jack_port {
public:
    explicit out_port(std::string peer)
        : jack_port(peer_direction::to_peer, std::move(peer)),
          waiting_(jack_ringbuffer_create(capacity)) {}
    ~out_port() override { jack_ringbuffer_free(waiting_); }

    // Owner. Waits for room while the server lives.
    result_t send(const std::uint8_t* bytes, std::size_t length) {
        const head_t head{static_cast<std::uint32_t>(length), bytes[0]};
        if (!has_room_for(length)) {
            lose(head);
            return port_failed;
        }
        jack_ringbuffer_write(waiting_, reinterpret_cast<const char*>(&head), sizeof head);
        jack_ringbuffer_write(waiting_, reinterpret_cast<const char*>(bytes), length);
        return is_virtual() || is_connected() ? no_error : port_failed;
    }

    // Owner. Waits until a cycle has taken everything and has come to its end. False when none does.
    bool flush() {
        while (jack_ringbuffer_read_space(waiting_) > 0)
            if (!next_cycle()) return false;
        return next_cycle();
    }

private:
    // In front of each message that waits.
    struct head_t {
        std::uint32_t length;
        std::uint8_t status;
    };
    static constexpr std::size_t capacity = std::size_t{1} << 17;

    bool has_room_for(std::size_t length) {
        if (!is_in_server() || length > longest_) return false;
        while (jack_ringbuffer_write_space(waiting_) < sizeof(head_t) + length)
            if (!next_cycle()) break;
        if (!stands_still()) return is_in_server();
        look_after_cycles();
        return false;
    }

    // Waits for it; false when none comes.
    bool next_cycle() const {
        const std::uint32_t before = cycles();
        while (cycles() == before) {
            if (!is_in_server() || stands_still()) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return true;
    }

    void lose(const head_t& head) {
        if (head.status < sysex_begin) lossy_channels_ |= std::uint32_t{1} << (head.status & 0x0F);
    }

    // Realtime thread, like all that follows.
    void cycle(void* buffer, clock::duration since) override {
        jack_midi_clear_buffer(buffer);
        if (is_connecting()) return;
        longest_ = std::min(jack_midi_max_event_size(buffer), capacity / 2);
        const bool heard = is_connected(), late = since > longest_gap;
        if (heard && lossy_channels_) release(buffer);
        for (head_t head; next(head);) {
            jack_midi_data_t* const room = late ? nullptr : jack_midi_event_reserve(buffer, 0, head.length);
            if (!room && !late) break;
            jack_ringbuffer_read_advance(waiting_, sizeof head);
            if (room)
                jack_ringbuffer_read(waiting_, reinterpret_cast<char*>(room), head.length);
            else
                jack_ringbuffer_read_advance(waiting_, head.length);
            if (!room || !heard) lose(head);
        }
    }

    // The first one that waits, whole.
    bool next(head_t& head) const {
        return jack_ringbuffer_peek(waiting_, reinterpret_cast<char*>(&head), sizeof head) == sizeof head &&
               jack_ringbuffer_read_space(waiting_) >= sizeof head + head.length;
    }

    void release(void* buffer) {
        const std::uint32_t channels = lossy_channels_.exchange(0);
        for (std::uint8_t channel = 0; channel < 16; ++channel)
            if (channels >> channel & 1)
                for (const std::uint8_t controller : {64, 123}) {
                    const jack_midi_data_t message[] = {std::uint8_t(0xB0 | channel), controller, 0};
                    jack_midi_event_write(buffer, 0, message, sizeof message);
                }
    }

    jack_ringbuffer_t* const waiting_;
    std::atomic<std::size_t> longest_{0}; // message that a cycle has room for
    std::atomic<std::uint32_t> lossy_channels_{0};
};

class jack_output : public port_output {
public:
    explicit jack_output(std::shared_ptr<out_port> port) : port_(std::move(port)) {}
    ~jack_output() override { port_->leave(); }

    result_t close() override {
        const bool all_sent = port_->flush();
        port_->leave();
        return all_sent ? no_error : port_failed;
    }

private:
    result_t send(const std::uint8_t* bytes, std::size_t length) override {
        return port_->send(bytes, length);
    }

    std::shared_ptr<out_port> port_;
};

} // namespace

result_t open_jack_output(const std::string& peer, std::unique_ptr<output_device_t>& opened) {
    auto port = std::make_shared<out_port>(peer);
    if (!port->open()) return port_failed;
    opened = std::make_unique<jack_output>(std::move(port));
    return no_error;
}

} // namespace midi
