#include "midi/midi_out.h"

#include "libutils/report.h"
#include "midi/port_choice.h"

#include <iostream>
#include <new>

namespace midi {

std::unique_ptr<midi_out_t> midi_out_t::create(output_service_t& service) {
    // A new handler may end the process, but here the caller wants to be told.
    const std::new_handler handler = std::set_new_handler(nullptr);
    std::unique_ptr<midi_out_t> port(new (std::nothrow) midi_out_t(service));
    std::set_new_handler(handler);
    return port;
}

template <class Key>
bool midi_out_t::open_chosen(Key key) {
    if (opened_) return false;
    const std::optional<chosen_device_t> chosen = choose_device(service_, key);
    if (!chosen) return false;
    name_ = chosen->name;
    std::cout << "select write device: " << chosen->number << ": " << name_ << std::endl;
    if (service_.open(chosen->number, device_) != no_error)
        return libutils::report("DeviceID=", chosen->number, ": can't open MIDI device.");
    opened_ = true;
    return true;
}

bool midi_out_t::open(std::uint32_t number) {
    return open_chosen(number);
}

bool midi_out_t::open(const char* name) {
    return open_chosen(name);
}

bool midi_out_t::putbuf(const std::uint8_t* buf, std::size_t len) {
    if (!opened_) return libutils::report("putbuf(", len, "): not opened.");
    if (len > 4) {
        device_->long_message(buf, len);
        return true;
    }
    const std::uint32_t message = std::uint32_t{buf[0]} | std::uint32_t{buf[1]} << 8 |
                                  std::uint32_t{buf[2]} << 16 | std::uint32_t{buf[3]} << 24;
    return device_->short_message(message) == no_error;
}

bool midi_out_t::close() {
    if (!opened_) return true;
    opened_ = false;
    const std::unique_ptr<output_device_t> closing = std::move(device_);
    return closing->close() == no_error;
}

midi_out_t::~midi_out_t() {
    midi_out_t::close();
}

} // namespace midi
