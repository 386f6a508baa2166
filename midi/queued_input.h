#pragma once
// An input port whose messages wait for the thread that owns it.

#include "midi/message_queue.h"
#include "midi/midi_in.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

namespace midi {

class queued_input {
public:
    // wake is called on threads of the service, also realtime ones, when there is something to take or to
    // tell. May be null.
    explicit queued_input(input_service_t& service, void (*wake)() = nullptr);

    // As the port's.
    template <class Key>
    bool open(Key key) {
        return port_.open(key);
    }
    const std::string& name() const { return port_.name(); }
    std::uint32_t number() const { return port_.number(); }

    bool take(queued_message& message) { return messages_.take(message); }
    std::size_t take_lost() { return messages_.take_lost(); }
    // What has become of the device, if that has changed since the last call: one that has gone and is back
    // again is told of twice.
    std::optional<input_absence> news();
    // About once a second: finds out whether the device is there, where the service does not tell.
    void look_for_device();
    bool close() { return port_.close(); }

private:
    void lose(input_absence what);

    // Eight seconds of 10 000 short messages each, and a message of the greatest length.
    static constexpr std::size_t room = std::size_t{1} << 21;

    input_service_t& service_;
    void (*const wake_)();
    message_queue messages_{room};
    std::atomic<input_absence> absence_{input_absence::none};
    std::atomic<input_absence> departure_{input_absence::none}; // until it has been told
    input_absence told_ = input_absence::none;
    bool was_listed_ = true;
    const midi_listener_t listener_;
    midi_in_t port_;
};

// "Keys has gone.", "The server of Keys has gone.", "Keys is back.", or what else there is to say.
void report_news(const std::string& device, input_absence now);

} // namespace midi
