#include "midi/port_choice.h"

#include "libutils/report.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <ostream>

namespace midi {

namespace {

// Reads a name or reports that it cannot be read.
bool read_name(service_t& service, std::uint32_t device, std::string& name) {
    return service.device_name(device, name) == no_error || libutils::report(device, ": GetDevCaps() error.");
}

bool list(std::ostream& out, const char* heading, service_t& service) {
    out << std::endl << heading << '\n';
    const std::uint32_t count = service.device_count();
    std::string name;
    for (std::uint32_t device = 0; device < count; ++device) {
        if (!read_name(service, device, name)) return false;
        out << device << ": " << name << '\n';
    }
    return true;
}

} // namespace

bool listdevices(std::ostream& out, output_service_t& service) {
    return list(out, "output devices:", service);
}

bool listinputdevices(std::ostream& out, input_service_t& service) {
    return list(out, "input devices:", service);
}

device_argument_t parsedevice(const char* argument) {
    if (std::strcmp(argument, "-") == 0) return {false, -1};
    const bool negative = argument[0] == '-';
    if (!negative && !(argument[0] >= '0' && argument[0] <= '9')) return {true, 0};
    char* end = nullptr;
    // 64 bits wherever it runs; what does not fit into them saturates in there already.
    std::int64_t number = std::strtoll(argument, &end, 0);
    if (*end != '\0') return {true, 0};
    constexpr std::int64_t least = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max();
    number = std::clamp(number, least, most);
    if (negative) number = std::max(number - 1, least);
    return {false, static_cast<std::int32_t>(number)};
}

std::optional<chosen_device_t> choose_device(service_t& service, std::uint32_t number) {
    const std::uint32_t count = service.device_count();
    if (number >= count) {
        libutils::report(static_cast<std::int32_t>(number), ">= ", count, ": devid over.");
        return std::nullopt;
    }
    std::string name;
    for (std::uint32_t device = 0; device <= number; ++device)
        if (!read_name(service, device, name)) return std::nullopt;
    return chosen_device_t{number, name};
}

std::optional<chosen_device_t> choose_device(service_t& service, const char* text) {
    const std::uint32_t count = service.device_count();
    std::string name;
    for (std::uint32_t device = 0; device < count; ++device) {
        if (!read_name(service, device, name)) return std::nullopt;
        if (name.find(text) != std::string::npos) return chosen_device_t{device, name};
    }
    libutils::report(text, ": device name not found.");
    return std::nullopt;
}

} // namespace midi
