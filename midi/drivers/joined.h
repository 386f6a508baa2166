#pragma once
// Several output services as one: their devices in the order in which the services were added.

#include "midi/driver.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace midi {

class joined_outputs : public output_service_t {
public:
    void add(std::unique_ptr<output_service_t> service);

    std::uint32_t device_count() override;
    result_t device_name(std::uint32_t device, std::string& name) override;
    result_t open(std::uint32_t device, std::unique_ptr<output_device_t>& opened) override;

private:
    struct part {
        std::unique_ptr<output_service_t> service;
        std::uint32_t count; // as last counted
    };
    // The service that has the device, with the device's number there; null for a number that was not
    // counted.
    output_service_t* find(std::uint32_t& device) const;

    std::vector<part> parts_;
};

} // namespace midi
