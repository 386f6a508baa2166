#pragma once
// The MIDI ports of JACK, then those of ALSA, through RtMidi, then "Virtual port": a port of our own that
// others connect to, on JACK when it runs, else on ALSA. A service that is not there has no ports, and
// without both there is no virtual port either. Result codes are one more than RtMidi's error types.
//
// Messages are checked before they are handed over: what is not a complete message is refused. JACK carries
// at most 16379 bytes in one message; a longer one is refused. A JACK server that stops or vanishes makes
// sending fail, half a second late at most.

#include "midi/driver.h"

#include <string>
#include <vector>

namespace midi {

enum class rtmidi_api { jack, alsa };

struct rtmidi_port {
    rtmidi_api api;
    bool is_virtual;
    std::string name;
};

class rtmidi_outputs : public output_service_t {
public:
    std::uint32_t device_count() override;
    result_t device_name(std::uint32_t device, std::string& name) override;
    result_t open(std::uint32_t device, std::unique_ptr<output_device_t>& opened) override;

private:
    std::vector<rtmidi_port> ports_; // as last counted; a port is found again by its name
};

class rtmidi_inputs : public input_service_t {
public:
    std::uint32_t device_count() override;
    result_t device_name(std::uint32_t device, std::string& name) override;
    result_t open(std::uint32_t device, input_sink_t& sink, std::unique_ptr<input_device_t>& opened) override;

private:
    std::vector<rtmidi_port> ports_;
};

} // namespace midi
