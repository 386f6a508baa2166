#include "midi/drivers/joined.h"

namespace midi {

namespace {
constexpr result_t no_such_device = 2;
}

result_t joined_outputs::device_name(std::uint32_t device, std::string& name) {
    const auto [service, number] = list_.find(device);
    return service ? service->device_name(number, name) : no_such_device;
}

result_t joined_outputs::open(std::uint32_t device, std::unique_ptr<output_device_t>& opened) {
    const auto [service, number] = list_.find(device);
    return service ? service->open(number, opened) : no_such_device;
}

result_t joined_inputs::device_name(std::uint32_t device, std::string& name) {
    const auto [service, number] = list_.find(device);
    return service ? service->device_name(number, name) : no_such_device;
}

result_t joined_inputs::open(std::uint32_t device, input_sink_t& sink,
                             std::unique_ptr<input_device_t>& opened) {
    const auto [service, number] = list_.find(device);
    return service ? service->open(number, sink, opened) : no_such_device;
}

} // namespace midi
