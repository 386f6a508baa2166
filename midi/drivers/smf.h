#pragma once
// "MIDI file": records a Standard MIDI File with the timing of the performance.

#include "midi/driver.h"

namespace midi {

// One device. Opening it creates quenvarel.mid, or the next free numbered name, in the working directory;
// closing it without a message removes it again. The file is format 0 with 960 ticks to the quarter note at
// 120 a minute (0.52 ms each), time 0 being when the device was opened, and valid on disk after every
// message. An "all notes off" has the note-offs that it stands for before it.
class smf_outputs : public output_service_t {
public:
    std::uint32_t device_count() override { return 1; }
    result_t device_name(std::uint32_t device, std::string& name) override;
    result_t open(std::uint32_t device, std::unique_ptr<output_device_t>& opened) override;
};

} // namespace midi
