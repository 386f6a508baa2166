#include "tools/midimon/event_queue.h"

#include <algorithm>

namespace midimon {

void event_queue::put(std::uint32_t milliseconds, const std::uint8_t* bytes, std::size_t length) {
    const std::size_t at = put_.load(std::memory_order_relaxed);
    if (at - taken_.load(std::memory_order_acquire) == events_.size()) {
        ++lost_;
        return;
    }
    event& next = events_[at % events_.size()];
    next.milliseconds = milliseconds;
    next.length = static_cast<std::uint32_t>(std::min(length, next.bytes.size()));
    std::copy_n(bytes, next.length, next.bytes.begin());
    put_.store(at + 1, std::memory_order_release);
}

bool event_queue::take(event& taken) {
    const std::size_t at = taken_.load(std::memory_order_relaxed);
    if (at == put_.load(std::memory_order_acquire)) return false;
    taken = events_[at % events_.size()];
    taken_.store(at + 1, std::memory_order_release);
    return true;
}

} // namespace midimon
