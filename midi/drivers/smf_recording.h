#pragma once
// Writes messages into a Standard MIDI File.

#include "midi/drivers/output_file.h"
#include "midi/drivers/recorder.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace midi {

class smf_recording : public recording_t {
public:
    // Creates the file in the working directory; false when that fails.
    bool create();
    bool message(double time, const std::uint8_t* bytes, std::size_t length) override;
    bool advance(double time) override;
    void finish(double time) override;
    void discard() override { file_.remove(); }
    std::string name() const override { return file_.name(); }

private:
    bool end_notes(double time, const std::uint8_t* bytes);
    bool event(double time, const std::uint8_t* bytes, std::size_t length);
    std::uint64_t ticks(double time) const;
    bool append(std::uint64_t ticks_to_end);
    bool write_track();

    output_file file_;
    int sounding_[16][128] = {};      // note-ons without a note-off
    std::vector<std::uint8_t> bytes_; // of the event that is being added
    std::uint64_t track_length_ = 0;  // without the end of track
    std::uint64_t last_tick_ = 0;     // of the last event
};

} // namespace midi
