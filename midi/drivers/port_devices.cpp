#include "midi/drivers/port_devices.h"

#include <algorithm>
#include <cstring>

namespace midi {

result_t port_input::start() {
    started_ = clock::now();
    running_ = true;
    return no_error;
}

result_t port_input::queue(input_buffer_t& buffer) {
    queued_ = &buffer;
    return no_error;
}

result_t port_input::stop() {
    running_ = false;
    return no_error;
}

result_t port_input::reset() {
    if (input_buffer_t* buffer = queued_.exchange(nullptr)) {
        buffer->recorded = 0;
        deliver(*buffer);
    }
    return no_error;
}

result_t port_input::unprepare(input_buffer_t& buffer) {
    return queued_ == &buffer ? buffer_in_use : no_error;
}

void port_input::arrived(const std::uint8_t* bytes, std::size_t length) {
    if (!running_) return;
    unfinished_.read(bytes, length, [this](const std::uint8_t* message, std::size_t count) {
        if (message[0] == sysex_begin)
            deliver_long(message, count);
        else
            sink_.receive(input_event::data, pack(message, count), milliseconds());
    });
}

void port_input::tell(input_absence absence) {
    if (absence == input_absence::none)
        sink_.receive(input_event::open, 0, 0);
    else
        sink_.receive(input_event::close, static_cast<std::uintptr_t>(absence), 0);
}

// In as many pieces as buffers come back; without one the rest is lost.
void port_input::deliver_long(const std::uint8_t* bytes, std::size_t length) {
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

void port_input::deliver(input_buffer_t& buffer) {
    sink_.receive(input_event::long_data, reinterpret_cast<std::uintptr_t>(&buffer), milliseconds());
}

std::uintptr_t port_input::milliseconds() const {
    return static_cast<std::uintptr_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(clock::now() - started_).count());
}

} // namespace midi
