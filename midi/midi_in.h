#pragma once
// The input port: one open device, whose messages go to a listener.

#include "midi/driver.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace midi {

class midi_in_t;

// Who is told about messages. Every function may be null, is called on a thread of the MIDI service and gets
// the context as its first argument. Times are milliseconds since the device was started.
struct midi_listener_t {
    void* context;
    void (*on_open)(void* context, std::uintptr_t parameter2, midi_in_t* port, std::uintptr_t parameter1);
    void (*on_close)(void* context, std::uintptr_t parameter2, midi_in_t* port, std::uintptr_t parameter1);
    // A short message with its status in the lowest byte, and the event's first parameter in full.
    void (*on_data)(void* context, std::uint32_t message, std::uint32_t time, std::uintptr_t parameter1);
    // At least one system exclusive byte; a message longer than the port's buffer comes in several calls.
    void (*on_longdata)(void* context, const std::uint8_t* bytes, std::uint32_t count, std::uint32_t time);
};

// What an input port is, with the name of its device.
class midi_in_port_t {
public:
    midi_in_port_t() = default;
    midi_in_port_t(const midi_in_port_t&) = delete;
    midi_in_port_t& operator=(const midi_in_port_t&) = delete;

    virtual bool isopen() const = 0;
    virtual bool open(std::uint32_t number) = 0;
    virtual bool open(const char* name) = 0;
    virtual bool close() = 0;
    virtual ~midi_in_port_t() = default;

    const std::string& name() const { return name_; }

protected:
    std::string name_;
};

// A port on one device of an input service, with one system exclusive buffer that is queued again after each
// use.
class midi_in_t : public midi_in_port_t, private input_sink_t {
public:
    // The listener may be null: events are dropped then. The service and the listener must outlive the port.
    midi_in_t(input_service_t& service, const midi_listener_t* listener)
        : service_(service),
          listener_(listener) {}

    bool isopen() const override { return opened_; }
    // As for the output port; the device delivers from here on. Every failure is one line on standard error.
    bool open(std::uint32_t number) override;
    bool open(const char* name) override;
    // False when a step of stopping the device failed; the port is closed all the same.
    bool close() override;
    // Closes it without a word: the device has gone, so that no step need succeed.
    void drop();
    ~midi_in_t() override;

    // The number of the device that was chosen last.
    std::uint32_t number() const { return number_; }

private:
    template <class Key>
    bool open_chosen(Key key);
    bool start();
    bool end(bool says_what_fails);
    bool queue_buffer();
    void receive(input_event event, std::uintptr_t parameter1, std::uintptr_t parameter2) override;

    input_service_t& service_;
    const midi_listener_t* listener_;
    std::array<std::uint8_t, 128> bytes_{};
    input_buffer_t buffer_{bytes_.data(), std::uint32_t(bytes_.size()), 0};
    // Set before the device is stopped, so that the buffer that comes back then is not queued again.
    std::atomic<bool> stopping_{false};
    std::uint32_t number_ = 0;
    bool opened_ = false;
    std::unique_ptr<input_device_t> device_;
};

} // namespace midi
