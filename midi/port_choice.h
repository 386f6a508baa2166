#pragma once
// Listing devices and choosing one by number or by a part of its name.

#include "midi/driver.h"

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>

namespace midi {

// Writes an empty line, "output devices:" and one line "number: name" for each device. False when a device's
// name could not be read, which is reported on standard error.
bool listdevices(std::ostream& out, output_service_t& service);
// The same for inputs under "input devices:".
bool listinputdevices(std::ostream& out, input_service_t& service);

// What a device argument on a command line means: a number, or a name when has_name is set (the whole
// argument).
struct device_argument_t {
    bool has_name;
    std::int32_t number; // 0 with a name. Negative numbers fail in open by number
};

// "-" is -1. A text that is a whole number in strtol's base 0 notation is that number, or one less when it
// begins with "-". Everything else is a name. Numbers beyond 32 bits saturate.
device_argument_t parsedevice(const char* argument);

struct chosen_device_t {
    std::uint32_t number;
    std::string name;
};

// The device with this number. Failures are reported on standard error.
std::optional<chosen_device_t> choose_device(service_t& service, std::uint32_t number);
// The first device whose name contains the text, upper and lower case being different.
std::optional<chosen_device_t> choose_device(service_t& service, const char* text);

} // namespace midi
