#pragma once
// An output service without hardware: it keeps every call and every message, and fails where it is told to.

#include "midi/driver.h"
#include "midi/message.h"

#include <array>
#include <cstdio>
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
    midi::result_t open_result = 0, short_result = 0, long_result = 0, close_result = 0;
    int short_messages_before_failure = -1; // when set, so many short messages still succeed

    // Every call in order: "count", "name 2", "open 2", "short c1 05 00 00", "long f0 ... f7", "close".
    std::vector<std::string> calls;
    // The messages alone, in hex, each with the bytes that its status asks for: "c1 05".
    std::vector<std::string> messages;
    // Unless this is false; then sending allocates nothing.
    bool records = true;
    // By channel and note: a note-on whose note-off has not come.
    std::array<std::array<bool, 128>, 16> sounding{};
    std::uint64_t notes_on = 0;
    int open_devices = 0;

    // Forgets what was kept.
    void clear() {
        calls.clear();
        messages.clear();
    }
    // The kept messages; forgets them.
    std::vector<std::string> take_messages() { return std::exchange(messages, {}); }

    std::uint32_t device_count() override {
        calls.push_back("count");
        return std::uint32_t(names.size());
    }
    midi::result_t device_name(std::uint32_t device, std::string& name) override {
        calls.push_back("name " + std::to_string(device));
        if (int(device) == device_without_name) return 2;
        name = names.at(device);
        return midi::no_error;
    }
    midi::result_t open(std::uint32_t device, std::unique_ptr<midi::output_device_t>& opened) override {
        calls.push_back("open " + std::to_string(device));
        if (open_result) return open_result;
        ++open_devices;
        opened = std::make_unique<device_t>(*this);
        return midi::no_error;
    }

private:
    class device_t : public midi::output_device_t {
    public:
        explicit device_t(recording_service& service) : service_(service) {}
        ~device_t() override { --service_.open_devices; }

        midi::result_t short_message(std::uint32_t message) override {
            const std::uint8_t bytes[4] = {std::uint8_t(message), std::uint8_t(message >> 8),
                                           std::uint8_t(message >> 16), std::uint8_t(message >> 24)};
            if (service_.records) {
                service_.calls.push_back("short " + hex(bytes, 4));
                const std::size_t length = midi::message_length(bytes[0]);
                service_.messages.push_back(hex(bytes, length ? length : 4));
            }
            auto& channel = service_.sounding[bytes[0] & 0x0F];
            if ((bytes[0] & 0xF0) == 0x90) {
                channel[bytes[1] & 0x7F] = bytes[2] > 0;
                service_.notes_on += bytes[2] > 0;
            } else if ((bytes[0] & 0xF0) == 0xB0 && bytes[1] == 123) {
                channel = {};
            }
            if (service_.short_messages_before_failure == 0) return 1;
            if (service_.short_messages_before_failure > 0) --service_.short_messages_before_failure;
            return service_.short_result;
        }
        midi::result_t long_message(const std::uint8_t* bytes, std::size_t length) override {
            if (service_.records) {
                service_.calls.push_back("long " + hex(bytes, length));
                service_.messages.push_back(hex(bytes, length));
            }
            return service_.long_result;
        }
        midi::result_t close() override {
            service_.calls.push_back("close");
            return service_.close_result;
        }

    private:
        recording_service& service_;
    };
};

} // namespace test_support
