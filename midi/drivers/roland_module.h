#pragma once
// The part of an MT-32 class module that the special keys control: what its data-set messages say.

#include <cstddef>
#include <cstdint>
#include <string>

namespace midi {

class roland_module {
public:
    enum class change { none, reverb, display, display_reset };

    // A system exclusive message from F0 to F7. Answers what it changed: nothing when it is for another
    // device or model, no data-set message, or has a wrong checksum.
    change receive(const std::uint8_t* message, std::size_t length);

    // As after switching on. Room, hall, plate, tap delay.
    int reverb_mode = 0;  // 0 to 3
    int reverb_time = 5;  // 0 to 7
    int reverb_level = 3; // 0 to 7
    // The 20 characters of the display, those that cannot be printed as blanks, without blanks at the end.
    std::string display() const;

private:
    bool set(std::uint32_t address, std::uint8_t value, change& what);

    char display_[20] = {};
};

} // namespace midi
