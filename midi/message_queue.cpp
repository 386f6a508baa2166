#include "midi/message_queue.h"

#include <algorithm>
#include <cstring>

namespace midi {

namespace {

// A message's first slot: the time, its length less one with the mark of a loss, and its first bytes.
constexpr std::size_t head = 5, slot_size = 8, in_first = slot_size - head;
constexpr std::uint8_t loss_mark = 0x80;

std::size_t slots_for(std::size_t length) {
    return length <= in_first ? 1 : 1 + (length - in_first + slot_size - 1) / slot_size;
}

} // namespace

bool message_queue::put(std::uint32_t milliseconds, const std::uint8_t* bytes, std::size_t length) {
    length = std::min(length, sizeof queued_message::bytes);
    const std::size_t at = put_.load(std::memory_order_relaxed), count = slots_for(length);
    if (length == 0) return true;
    if (at + count - taken_.load(std::memory_order_acquire) > slots_.size()) {
        ++lost_;
        loses_ = true;
        return false;
    }
    slot& first = slots_[at % slots_.size()];
    std::memcpy(first.data(), &milliseconds, sizeof milliseconds);
    first[head - 1] = static_cast<std::uint8_t>((length - 1) | (loses_ ? loss_mark : 0));
    std::memcpy(first.data() + head, bytes, std::min(length, in_first));
    for (std::size_t i = 1, done = in_first; i < count; ++i, done += slot_size)
        std::memcpy(slots_[(at + i) % slots_.size()].data(), bytes + done,
                    std::min(length - done, slot_size));
    loses_ = false;
    put_.store(at + count, std::memory_order_release);
    return true;
}

bool message_queue::take(queued_message& taken) {
    const std::size_t at = taken_.load(std::memory_order_relaxed);
    if (at == put_.load(std::memory_order_acquire)) return false;
    const slot& first = slots_[at % slots_.size()];
    std::memcpy(&taken.milliseconds, first.data(), sizeof taken.milliseconds);
    taken.length = (first[head - 1] & ~unsigned{loss_mark}) + 1;
    taken.after_loss = (first[head - 1] & loss_mark) != 0;
    std::memset(taken.bytes.data(), 0, 4);
    std::memcpy(taken.bytes.data(), first.data() + head, std::min<std::size_t>(taken.length, in_first));
    const std::size_t count = slots_for(taken.length);
    for (std::size_t i = 1, done = in_first; i < count; ++i, done += slot_size)
        std::memcpy(taken.bytes.data() + done, slots_[(at + i) % slots_.size()].data(),
                    std::min<std::size_t>(taken.length - done, slot_size));
    taken_.store(at + count, std::memory_order_release);
    return true;
}

} // namespace midi
