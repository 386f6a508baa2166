#pragma once
// Several services as one: their devices in the order in which the services were added.

#include "midi/driver.h"

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace midi {

// Finds the service that has a device, for services of either direction. A device that the last count did not
// have belongs to no service.
template <class Service>
class joined_list {
public:
    void add(std::unique_ptr<Service> service) { parts_.push_back({std::move(service), 0}); }

    std::uint32_t count() {
        std::uint32_t all = 0;
        for (part& p : parts_)
            all += p.count = p.service->device_count();
        return all;
    }
    // Null, or the service and the device's number there.
    std::pair<Service*, std::uint32_t> find(std::uint32_t device) const {
        for (const part& p : parts_) {
            if (device < p.count) return {p.service.get(), device};
            device -= p.count;
        }
        return {nullptr, 0};
    }

private:
    struct part {
        std::unique_ptr<Service> service;
        std::uint32_t count;
    };
    std::vector<part> parts_;
};

class joined_outputs : public output_service_t {
public:
    void add(std::unique_ptr<output_service_t> service) { list_.add(std::move(service)); }

    std::uint32_t device_count() override { return list_.count(); }
    result_t device_name(std::uint32_t device, std::string& name) override;
    result_t open(std::uint32_t device, std::unique_ptr<output_device_t>& opened) override;

private:
    joined_list<output_service_t> list_;
};

class joined_inputs : public input_service_t {
public:
    void add(std::unique_ptr<input_service_t> service) { list_.add(std::move(service)); }

    std::uint32_t device_count() override { return list_.count(); }
    result_t device_name(std::uint32_t device, std::string& name) override;
    result_t open(std::uint32_t device, input_sink_t& sink, std::unique_ptr<input_device_t>& opened) override;

private:
    joined_list<input_service_t> list_;
};

} // namespace midi
