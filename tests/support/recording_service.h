#pragma once
// An output service without hardware: it keeps every call and every message, and fails where it is told to.

#include "midi/driver.h"
#include "midi/message.h"

#include <array>
#include <cstdio>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace test_support {

// "f0 41 10"
inline std::string hex(const std::uint8_t* bytes, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        char digits[4];
        std::snprintf(digits, sizeof digits, i ? " %02x" : "%02x", unsigned(bytes[i]));
        text += digits;
    }
    return text;
}

class recording_service : public midi::output_service_t {
public:
    explicit recording_service(std::vector<std::string> device_names = {"Recorder"})
        : names(std::move(device_names)) {}

    std::vector<std::string> names; // one for each device
    // What the calls answer; change them at any time.
    int device_without_name = -1; // this device's name cannot be read
    midi::result_t open_result = 0, close_result = 0;
    std::size_t messages_before_failure = std::numeric_limits<std::size_t>::max();

    // Every call in order: "count; name 2; open 2; short c1 05 00 00; long f0 ... f7; close".
    std::string calls;
    // The messages alone, in hex, each with the bytes that its status asks for: "c1 05; b1 7b 00".
    std::string messages;
    // Unless this is false; then sending allocates nothing.
    bool records = true;
    // By channel and note: a note-on whose note-off has not come.
    std::array<std::array<bool, 128>, 16> sounding{};
    std::uint64_t notes_on = 0;
    int open_devices = 0;

    // Each returns what was kept and forgets it.
    std::string take_calls() { return std::exchange(calls, {}); }
    std::string take_messages() { return std::exchange(messages, {}); }

    std::uint32_t device_count() override {
        keep(calls, "count");
        return std::uint32_t(names.size());
    }
    midi::result_t device_name(std::uint32_t device, std::string& name) override {
        keep(calls, "name " + std::to_string(device));
        if (int(device) == device_without_name) return 2;
        name = names.at(device);
        return midi::no_error;
    }
    midi::result_t open(std::uint32_t device, std::unique_ptr<midi::output_device_t>& opened) override {
        keep(calls, "open " + std::to_string(device));
        if (!open_result) opened = std::make_unique<device_t>(*this);
        return open_result;
    }

private:
    static void keep(std::string& all, const std::string& one) { all += (all.empty() ? "" : "; ") + one; }

    struct device_t : midi::output_device_t {
        recording_service& service;
        explicit device_t(recording_service& its_service) : service(its_service) { ++service.open_devices; }
        ~device_t() override { --service.open_devices; }

        midi::result_t short_message(std::uint32_t message) override {
            const std::uint8_t bytes[4] = {std::uint8_t(message), std::uint8_t(message >> 8),
                                           std::uint8_t(message >> 16), std::uint8_t(message >> 24)};
            auto& channel = service.sounding[bytes[0] & 0x0F];
            if ((bytes[0] & 0xF0) == 0x90) {
                channel[bytes[1] & 0x7F] = bytes[2] > 0;
                service.notes_on += bytes[2] > 0;
            } else if ((bytes[0] & 0xF0) == 0xB0 && bytes[1] == 123) {
                channel = {};
            }
            const std::size_t length = midi::message_length(bytes[0]);
            return sent("short ", bytes, 4, length ? length : 4);
        }
        midi::result_t long_message(const std::uint8_t* bytes, std::size_t length) override {
            return sent("long ", bytes, length, length);
        }
        midi::result_t close() override {
            keep(service.calls, "close");
            return service.close_result;
        }
        midi::result_t sent(const char* how, const std::uint8_t* bytes, std::size_t given,
                            std::size_t length) {
            if (service.records) {
                keep(service.calls, how + hex(bytes, given));
                keep(service.messages, hex(bytes, length));
            }
            if (service.messages_before_failure == 0) return 1;
            --service.messages_before_failure;
            return midi::no_error;
        }
    };
};

} // namespace test_support
