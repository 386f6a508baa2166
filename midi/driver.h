#pragma once
// The seam between the ports and the systems that carry MIDI. A service lists devices and opens them; an open
// device takes or delivers messages. Every call answers with the system's own result code.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace midi {

// 0 is success on every system; anything else is the service's own code for what went wrong.
using result_t = std::uint32_t;
constexpr result_t no_error = 0;

// A list of devices, numbered from 0. Names stay valid for the numbers that the last device_count() counted.
class service_t {
public:
    virtual ~service_t() = default;
    virtual std::uint32_t device_count() = 0;
    // Stores the product name of a device.
    virtual result_t device_name(std::uint32_t device, std::string& name) = 0;
};

// An open output. Destroying it closes it when close was not called. Called from one thread.
class output_device_t {
public:
    virtual ~output_device_t() = default;
    // One message of up to four bytes, the status in the lowest byte, unused bytes zero. Allocates nothing.
    virtual result_t short_message(std::uint32_t message) = 0;
    // A message of any length, normally system exclusive from F0 to F7. The bytes are no longer needed when
    // it returns.
    virtual result_t long_message(const std::uint8_t* bytes, std::size_t length) = 0;
    virtual result_t close() = 0;
};

class output_service_t : public service_t {
public:
    // On success stores the open device.
    virtual result_t open(std::uint32_t device, std::unique_ptr<output_device_t>& opened) = 0;
};

// Receive memory for system exclusive bytes, owned by the port and lent to the device.
struct input_buffer_t {
    std::uint8_t* bytes;
    std::uint32_t length;   // room, in bytes
    std::uint32_t recorded; // bytes received so far
};

// What a device that is open has lost: nothing, the device itself, the service that it is reached through, or
// a connection with an output of this process, which would send everything round and round and has been cut.
enum class input_absence : std::uint8_t { none, device, service, loop };

enum class input_event {
    open,      // also when the device is back
    close,     // parameter 1: an input_absence; a device that has gone away stays open and may come back
    data,      // parameter 1: the packed short message, parameter 2: milliseconds since start
    more_data, // as data, when the receiver falls behind
    long_data, // parameter 1: address of the input_buffer_t, parameter 2: milliseconds since start
    error,
    long_error,
};

// Receives what an open input delivers, on a thread of the service.
class input_sink_t {
public:
    virtual void receive(input_event event, std::uintptr_t parameter1, std::uintptr_t parameter2) = 0;

protected:
    ~input_sink_t() = default;
};

// An open input. A queued buffer comes back through one long_data event (when it is full, when its message
// ends, or empty after reset) and receives more only after it has been queued again, which the sink may do
// within the event. Destroying the device closes it; after that the sink is not called.
class input_device_t {
public:
    virtual ~input_device_t() = default;
    virtual result_t start() = 0;
    virtual result_t prepare(input_buffer_t& buffer) = 0;
    virtual result_t queue(input_buffer_t& buffer) = 0;
    virtual result_t stop() = 0;
    // Gives every queued buffer back.
    virtual result_t reset() = 0;
    virtual result_t unprepare(input_buffer_t& buffer) = 0;
    virtual result_t close() = 0;
};

class input_service_t : public service_t {
public:
    // Whether its devices tell by events that they go and come back. Else that is to be found out from the
    // list, and a device that is back is to be opened again.
    virtual bool tells_absence() const { return true; }
    // On success stores the open device. The sink must outlive it.
    virtual result_t open(std::uint32_t device, input_sink_t& sink,
                          std::unique_ptr<input_device_t>& opened) = 0;
};

} // namespace midi
