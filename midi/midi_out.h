#pragma once
// The output port: one open device, and the primitive through which everything is sent.

#include "midi/driver.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace midi {

// What an output port is, with the name of its device.
class midi_port_t {
public:
    midi_port_t() = default;
    midi_port_t(const midi_port_t&) = delete;
    midi_port_t& operator=(const midi_port_t&) = delete;

    virtual bool isopen() const = 0;
    virtual bool open(std::uint32_t number) = 0;
    virtual bool open(const char* name) = 0;
    virtual bool putbuf(const std::uint8_t* buf, std::size_t len) = 0;
    virtual bool close() = 0;
    virtual ~midi_port_t() = default;

    // The product name of the device that was chosen last; empty before the first choice, kept after close.
    const std::string& name() const { return name_; }

protected:
    std::string name_;
};

// A port on one device of an output service. Used from one thread.
class midi_out_t : public midi_port_t {
public:
    // A closed port; null when there is no memory. The service must outlive the port.
    static std::unique_ptr<midi_out_t> create(output_service_t& service);
    explicit midi_out_t(output_service_t& service) : service_(service) {}

    bool isopen() const override { return opened_; }
    // Opens the device with this number. The choice is one line on standard output, a failure one line on
    // standard error; an open port refuses silently.
    bool open(std::uint32_t number) override;
    // Opens the first device whose name contains the given text, case-sensitively.
    bool open(const char* name) override;
    // Sends len bytes. Up to four are a short message, of which four bytes are always read (the unused ones
    // zero), nothing is allocated, and the result is the device's. More are a long message, which succeeds
    // whatever the device says. A closed port reports one line on standard error and fails.
    bool putbuf(const std::uint8_t* buf, std::size_t len) override;
    // True on a closed port.
    bool close() override;
    ~midi_out_t() override;

private:
    template <class Key>
    bool open_chosen(Key key);

    output_service_t& service_;
    std::unique_ptr<output_device_t> device_;
    bool opened_ = false;
};

} // namespace midi
