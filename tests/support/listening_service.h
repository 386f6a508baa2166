#pragma once
// An output service whose one device knows what sounds. Sending to it allocates nothing.

#include "midi/driver.h"

#include <array>
#include <memory>
#include <string>

namespace test_support {

class listening_service : public midi::output_service_t {
public:
    std::array<std::array<bool, 128>, 16> sounding{}; // a note-on whose note-off has not come
    std::uint64_t notes_on = 0;

    std::uint32_t device_count() override { return 1; }
    midi::result_t device_name(std::uint32_t, std::string& name) override {
        name = "Listener";
        return midi::no_error;
    }
    midi::result_t open(std::uint32_t, std::unique_ptr<midi::output_device_t>& opened) override {
        opened = std::make_unique<device_t>(*this);
        return midi::no_error;
    }

private:
    struct device_t : midi::output_device_t {
        explicit device_t(listening_service& s) : service(s) {}
        midi::result_t short_message(std::uint32_t message) override {
            const unsigned status = message & 0xF0, first = message >> 8 & 0x7F;
            const bool sounds = message >> 16 & 0x7F;
            auto& channel = service.sounding[message & 0x0F];
            if (status == 0x90) channel[first] = sounds;
            if (status == 0x90) service.notes_on += sounds;
            if (status == 0xB0 && first == 123) channel = {};
            return midi::no_error;
        }
        midi::result_t long_message(const std::uint8_t*, std::size_t) override { return midi::no_error; }
        midi::result_t close() override { return midi::no_error; }
        listening_service& service;
    };
};

} // namespace test_support
