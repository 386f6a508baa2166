#include "midi/midi_in.h"

#include "libutils/report.h"
#include "midi/port_choice.h"

#include <iostream>

namespace midi {

namespace {

// True for success; otherwise one line with the service's code.
bool succeeded(result_t result, const char* text) {
    if (result == no_error) return true;
    return libutils::report(result, text);
}

constexpr const char* cannot_prepare = ": can't prepare MIDI in.";

} // namespace

template <class Key>
bool midi_in_t::open_chosen(Key key) {
    if (opened_) return false;
    const std::optional<chosen_device_t> chosen = choose_device(service_, key);
    if (!chosen) return false;
    number_ = chosen->number;
    name_ = chosen->name;
    std::cout << "select read device: " << number_ << ": " << name_ << std::endl;
    if (service_.open(number_, *this, device_) != no_error)
        return libutils::report("DeviceID=", number_, ": can't open MIDI device.");
    stopping_ = false;
    opened_ = start();
    if (!opened_) {
        stopping_ = true;
        device_.reset();
    }
    return opened_;
}

// The device runs before it has a buffer: short messages need none.
bool midi_in_t::start() {
    if (!succeeded(device_->start(), ": can't start MIDI in.")) return false;
    buffer_.recorded = 0;
    return succeeded(device_->prepare(buffer_), cannot_prepare) && queue_buffer();
}

bool midi_in_t::queue_buffer() {
    return succeeded(device_->queue(buffer_), cannot_prepare);
}

bool midi_in_t::open(std::uint32_t number) {
    return open_chosen(number);
}

bool midi_in_t::open(const char* name) {
    return open_chosen(name);
}

bool midi_in_t::close() {
    return end(true);
}

void midi_in_t::drop() {
    end(false);
}

bool midi_in_t::end(bool says_what_fails) {
    if (!opened_) return true;
    const auto done = [says_what_fails](result_t result, const char* text) {
        return says_what_fails ? succeeded(result, text) : result == no_error;
    };
    stopping_ = true;
    bool all = done(device_->stop(), ": can't stop MIDI in.");
    all = done(device_->reset(), ": can't reset MIDI in.") && all;
    all = done(device_->unprepare(buffer_), ": can't unprepare MIDI in.") && all;
    const bool closed = done(device_->close(), ": can't close MIDI in.");
    if (closed) device_.reset(); // one that is still open may call, and fill what it was lent
    opened_ = false;
    return closed && all;
}

midi_in_t::~midi_in_t() {
    midi_in_t::close();
}

void midi_in_t::receive(input_event event, std::uintptr_t parameter1, std::uintptr_t parameter2) {
    static constexpr midi_listener_t nobody{};
    const midi_listener_t& listener = listener_ ? *listener_ : nobody;
    const auto time = static_cast<std::uint32_t>(parameter2);
    switch (event) {
    case input_event::open:
        if (listener.on_open) listener.on_open(listener.context, parameter2, this, parameter1);
        break;
    case input_event::close:
        if (listener.on_close) listener.on_close(listener.context, parameter2, this, parameter1);
        break;
    case input_event::data:
    case input_event::more_data:
        if (listener.on_data)
            listener.on_data(listener.context, static_cast<std::uint32_t>(parameter1), time, parameter1);
        break;
    case input_event::long_data:
        if (listener.on_longdata && buffer_.recorded > 0)
            listener.on_longdata(listener.context, buffer_.bytes, buffer_.recorded, time);
        if (!stopping_) {
            buffer_.recorded = 0;
            queue_buffer();
        }
        break;
    case input_event::error:
    case input_event::long_error:
        break;
    }
}

} // namespace midi
