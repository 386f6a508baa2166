#pragma once
// Passes messages from the receiving thread, which must never wait, to the printing thread.

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace midimon {

struct event {
    std::uint32_t milliseconds;
    std::uint32_t length;
    std::array<std::uint8_t, 128> bytes; // as much as an input port delivers at once
};

// One thread puts, one takes; neither locks nor allocates.
class event_queue {
public:
    explicit event_queue(std::size_t capacity) : events_(capacity) {}

    // Cuts off bytes that do not fit into an event. When the queue is full, the event is lost and counted.
    void put(std::uint32_t milliseconds, const std::uint8_t* bytes, std::size_t length);
    bool take(event& taken);
    // The number of events lost since the last call.
    std::size_t take_lost() { return lost_.exchange(0); }

private:
    std::vector<event> events_;
    std::atomic<std::size_t> put_{0}, taken_{0}, lost_{0};
};

} // namespace midimon
