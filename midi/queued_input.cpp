#include "midi/queued_input.h"

#include "libutils/report.h"
#include "midi/message.h"

#include <algorithm>
#include <utility>

namespace midi {

queued_input::queued_input(input_service_t& service, void (*wake)())
    : service_(service),
      wake_(wake ? wake : [] {}),
      listener_{this,
                [](void* self, std::uintptr_t, midi_in_t*, std::uintptr_t) {
                    auto& input = *static_cast<queued_input*>(self);
                    input.absence_ = input_absence::none;
                    input.wake_();
                },
                [](void* self, std::uintptr_t, midi_in_t*, std::uintptr_t absence) {
                    static_cast<queued_input*>(self)->lose(static_cast<input_absence>(absence));
                },
                [](void* self, std::uint32_t message, std::uint32_t time, std::uintptr_t) {
                    auto& input = *static_cast<queued_input*>(self);
                    const std::uint8_t bytes[4] = {std::uint8_t(message), std::uint8_t(message >> 8),
                                                   std::uint8_t(message >> 16), std::uint8_t(message >> 24)};
                    input.messages_.put(time, bytes, std::max<std::size_t>(message_length(bytes[0]), 1));
                    input.wake_();
                },
                [](void* self, const std::uint8_t* bytes, std::uint32_t count, std::uint32_t time) {
                    auto& input = *static_cast<queued_input*>(self);
                    input.messages_.put(time, bytes, count);
                    input.wake_();
                }},
      port_(service, &listener_) {}

void queued_input::lose(input_absence what) {
    if (what == input_absence::none) return;          // the port is being closed
    if (what != input_absence::loop) absence_ = what; // a loop is over when it is told
    departure_ = what;
    wake_();
}

std::optional<input_absence> queued_input::news() {
    const input_absence left = departure_.exchange(input_absence::none);
    if (left == input_absence::loop) return left;
    const input_absence now = left == input_absence::none ? input_absence(absence_) : left;
    return std::exchange(told_, now) == now ? std::nullopt : std::optional(now);
}

void queued_input::look_for_device() {
    if (service_.tells_absence()) return;
    std::string listed;
    std::uint32_t device = 0;
    const std::uint32_t count = service_.device_count();
    while (device < count && !(service_.device_name(device, listed) == no_error && listed == name()))
        ++device;
    const bool is_listed = device < count;
    if (is_listed == was_listed_) return;
    was_listed_ = is_listed;
    if (!is_listed) {
        port_.drop();
        lose(input_absence::device);
    } else {
        port_.open(device);
    }
}

void report_news(const std::string& device, input_absence now) {
    switch (now) {
    case input_absence::none:
        libutils::report(device, " is back.");
        break;
    case input_absence::device:
        libutils::report(device, " has gone.");
        break;
    case input_absence::service:
        libutils::report("The server of ", device, " has gone.");
        break;
    case input_absence::loop:
        libutils::report(device, ": disconnected from what this program sends.");
        break;
    }
}

} // namespace midi
