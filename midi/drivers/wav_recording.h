#pragma once
// Renders a synthesizer into a WAV file.

#include "midi/drivers/output_file.h"
#include "midi/drivers/recorder.h"
#include "midi/drivers/synthesizer.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>

namespace midi {

class wav_recording : public recording_t {
public:
    static constexpr int sample_rate = 44100;

    // Creates the file in the working directory; false when that fails. The synthesizer has the rate above.
    bool create(std::unique_ptr<synthesizer> synth);
    bool message(double time, const std::uint8_t* bytes, std::size_t length) override;
    bool advance(double time) override;
    void finish(double time) override;
    void discard() override { file_.remove(); }
    std::string name() const override { return file_.name(); }

private:
    static constexpr int block = 1024; // frames rendered at once

    bool render(int frames);
    bool update_header();
    bool last_block_is_silent(int frames) const;

    std::unique_ptr<synthesizer> synth_;
    output_file file_;
    std::uint64_t frames_ = 0, frames_in_header_ = 0;
    float volume_ = 1, volume_step_ = 0; // and by how much each frame is softer than the one before
    std::array<std::int16_t, 2 * block> samples_{};
};

} // namespace midi
