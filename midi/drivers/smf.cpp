#include "midi/drivers/smf.h"

#include "midi/drivers/recorder.h"
#include "midi/drivers/smf_recording.h"

#include <utility>

namespace midi {

result_t smf_outputs::device_name(std::uint32_t, std::string& name) {
    name = "MIDI file";
    return no_error;
}

result_t smf_outputs::open(std::uint32_t, std::unique_ptr<output_device_t>& opened) {
    auto recording = std::make_unique<smf_recording>();
    if (!recording->create()) return 1;
    return recorder::open(std::move(recording), opened);
}

} // namespace midi
