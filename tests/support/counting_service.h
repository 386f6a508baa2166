#pragma once
// An output service whose one device only counts, without allocating.

#include "midi/driver.h"

#include <memory>
#include <string>

namespace test_support {

class counting_service : public midi::output_service_t {
public:
    int sent = 0; // short messages

    std::uint32_t device_count() override { return 1; }
    midi::result_t device_name(std::uint32_t, std::string& name) override {
        name = "Counter";
        return midi::no_error;
    }
    midi::result_t open(std::uint32_t, std::unique_ptr<midi::output_device_t>& opened) override {
        struct device_t : midi::output_device_t {
            explicit device_t(int& count) : sent(count) {}
            midi::result_t short_message(std::uint32_t) override { return ++sent, midi::no_error; }
            midi::result_t long_message(const std::uint8_t*, std::size_t) override { return midi::no_error; }
            midi::result_t close() override { return midi::no_error; }
            int& sent;
        };
        opened = std::make_unique<device_t>(sent);
        return midi::no_error;
    }
};

} // namespace test_support
