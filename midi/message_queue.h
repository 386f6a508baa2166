#pragma once
// Carries messages from a thread that must never wait to one that handles them.

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace midi {

struct queued_message {
    std::uint32_t milliseconds;
    std::uint32_t length;
    bool after_loss;                     // what came before this has been lost
    std::array<std::uint8_t, 128> bytes; // as much as an input port delivers at once; at least four are valid
};

// One thread puts, one takes; neither locks nor allocates. A short message takes 8 bytes of the capacity.
class message_queue {
public:
    explicit message_queue(std::size_t bytes) : slots_(bytes / sizeof(slot)) {}

    // A piece of 1 to 128 bytes; what is longer is cut off. False when the queue is full: the message is lost
    // and counted.
    bool put(std::uint32_t milliseconds, const std::uint8_t* bytes, std::size_t length);
    bool take(queued_message& taken);
    // The number of messages lost since the last call.
    std::size_t take_lost() { return lost_.exchange(0); }

private:
    using slot = std::array<std::uint8_t, 8>;

    std::vector<slot> slots_;
    std::atomic<std::size_t> put_{0}, taken_{0}, lost_{0};
    bool loses_ = false; // the last one that was put has been lost
};

} // namespace midi
