#pragma once
// The Windows multimedia MIDI services, called directly. Result codes are MMRESULT values.

#include "midi/driver.h"

namespace midi {

class winmm_outputs : public output_service_t {
public:
    std::uint32_t device_count() override;
    result_t device_name(std::uint32_t device, std::string& name) override;
    // Long messages wait until the device has released their bytes: at most a second longer than a MIDI cable
    // takes to carry them. What it has not released by then is left to it for good.
    result_t open(std::uint32_t device, std::unique_ptr<output_device_t>& opened) override;
};

class winmm_inputs : public input_service_t {
public:
    bool tells_absence() const override { return false; }
    std::uint32_t device_count() override;
    result_t device_name(std::uint32_t device, std::string& name) override;
    result_t open(std::uint32_t device, input_sink_t& sink, std::unique_ptr<input_device_t>& opened) override;
};

} // namespace midi
