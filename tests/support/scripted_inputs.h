#pragma once
// An input service without hardware: it keeps every call, fails where it is told to, and delivers what a test
// sends.

#include "midi/driver.h"

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace test_support {

class scripted_inputs : public midi::input_service_t {
public:
    explicit scripted_inputs(std::vector<std::string> device_names) : names(std::move(device_names)) {}

    std::vector<std::string> names;
    std::set<std::string> failing; // calls that fail with code 7
    std::string calls;             // in order: "open 1; start; prepare; queue; ... destroyed; "

    std::string take_calls() { return std::exchange(calls, {}); }

    std::uint32_t device_count() override { return std::uint32_t(names.size()); }
    midi::result_t device_name(std::uint32_t device, std::string& name) override {
        name = names.at(device);
        return midi::no_error;
    }
    midi::result_t open(std::uint32_t device, midi::input_sink_t& sink,
                        std::unique_ptr<midi::input_device_t>& opened) override {
        if (note("open " + std::to_string(device))) return 7;
        sink_ = &sink;
        sink.receive(midi::input_event::open, 1, 2);
        opened = std::make_unique<device_t>(*this);
        return midi::no_error;
    }

    void send(midi::input_event event, std::uintptr_t parameter1, std::uintptr_t parameter2) {
        sink_->receive(event, parameter1, parameter2);
    }
    // Delivers as many bytes as one queued buffer holds; false when none is queued.
    bool send_long(std::vector<std::uint8_t>& bytes, std::uint32_t time) {
        midi::input_buffer_t* buffer = std::exchange(queued_, nullptr);
        if (!buffer) return false;
        buffer->recorded = std::min<std::uint32_t>(buffer->length, std::uint32_t(bytes.size()));
        std::copy_n(bytes.begin(), buffer->recorded, buffer->bytes);
        bytes.erase(bytes.begin(), bytes.begin() + buffer->recorded);
        send(midi::input_event::long_data, reinterpret_cast<std::uintptr_t>(buffer), time);
        return true;
    }
    bool buffer_is_queued() const { return queued_ != nullptr; }

private:
    midi::result_t note(const std::string& call) {
        calls += call + "; ";
        return failing.count(call) ? 7 : midi::no_error;
    }

    struct device_t : midi::input_device_t {
        scripted_inputs& service;
        explicit device_t(scripted_inputs& its_service) : service(its_service) {}
        ~device_t() override { service.note("destroyed"); }
        midi::result_t start() override { return service.note("start"); }
        midi::result_t prepare(midi::input_buffer_t&) override { return service.note("prepare"); }
        midi::result_t queue(midi::input_buffer_t& buffer) override {
            service.queued_ = &buffer;
            return service.note(buffer.recorded == 0 ? "queue" : "queue with bytes");
        }
        midi::result_t stop() override { return service.note("stop"); }
        midi::result_t reset() override {
            std::vector<std::uint8_t> nothing;
            service.send_long(nothing, 0);
            return service.note("reset");
        }
        midi::result_t unprepare(midi::input_buffer_t&) override { return service.note("unprepare"); }
        midi::result_t close() override {
            service.send(midi::input_event::close, 3, 4);
            return service.note("close");
        }
    };

    midi::input_sink_t* sink_ = nullptr;
    midi::input_buffer_t* queued_ = nullptr;
};

} // namespace test_support
