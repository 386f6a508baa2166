#include "midi/drivers/joined.h"

#include <utility>

namespace midi {

namespace {
constexpr result_t no_such_device = 2;
}

void joined_outputs::add(std::unique_ptr<output_service_t> service) {
    parts_.push_back({std::move(service), 0});
}

std::uint32_t joined_outputs::device_count() {
    std::uint32_t all = 0;
    for (part& p : parts_)
        all += p.count = p.service->device_count();
    return all;
}

output_service_t* joined_outputs::find(std::uint32_t& device) const {
    for (const part& p : parts_) {
        if (device < p.count) return p.service.get();
        device -= p.count;
    }
    return nullptr;
}

result_t joined_outputs::device_name(std::uint32_t device, std::string& name) {
    output_service_t* service = find(device);
    return service ? service->device_name(device, name) : no_such_device;
}

result_t joined_outputs::open(std::uint32_t device, std::unique_ptr<output_device_t>& opened) {
    output_service_t* service = find(device);
    return service ? service->open(device, opened) : no_such_device;
}

} // namespace midi
