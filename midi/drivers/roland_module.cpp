#include "midi/drivers/roland_module.h"

#include "midi/message.h"

#include <algorithm>
#include <iterator>

namespace midi {

namespace {

// Manufacturer, device, model, command: a data set for an MT-32.
constexpr std::uint8_t header[] = {sysex_begin, 0x41, 0x10, 0x16, 0x12};
constexpr std::size_t address_bytes = 3;

// Three bytes of seven bits.
constexpr std::uint32_t address_of(std::uint32_t high, std::uint32_t middle, std::uint32_t low) {
    return high << 14 | middle << 7 | low;
}
constexpr std::uint32_t reverb = address_of(0x10, 0x00, 0x01);
constexpr std::uint32_t display_text = address_of(0x20, 0x00, 0x00);
constexpr std::uint32_t reset_display = address_of(0x20, 0x01, 0x00);

} // namespace

roland_module::change roland_module::receive(const std::uint8_t* message, std::size_t length) {
    // Around the data: the header, the address, the checksum and the end.
    constexpr std::size_t around = sizeof header + address_bytes + 2;
    if (length <= around || !std::equal(std::begin(header), std::end(header), message)) return change::none;
    const std::uint8_t* payload = message + sizeof header;
    const std::uint8_t* end = message + length - 2; // at the checksum
    unsigned sum = 0;
    for (const std::uint8_t* byte = payload; byte <= end; ++byte) {
        if (*byte >= 0x80) return change::none;
        sum += *byte;
    }
    if (sum % 128 != 0 || end[1] != sysex_end) return change::none;

    std::uint32_t address = address_of(payload[0], payload[1], payload[2]);
    change what = change::none;
    for (const std::uint8_t* byte = payload + address_bytes; byte < end; ++byte, ++address)
        if (!set(address, *byte, what)) return change::none;
    return what;
}

bool roland_module::set(std::uint32_t address, std::uint8_t value, change& what) {
    int* const parameters[] = {&reverb_mode, &reverb_time, &reverb_level};
    constexpr int most[] = {3, 7, 7};
    if (address >= reverb && address < reverb + std::size(most)) {
        if (value > most[address - reverb]) return false;
        *parameters[address - reverb] = value;
        what = change::reverb;
    } else if (address >= display_text && address < display_text + std::size(display_)) {
        display_[address - display_text] = static_cast<char>(value);
        what = change::display;
    } else if (address == reset_display) {
        std::fill(std::begin(display_), std::end(display_), '\0');
        what = change::display_reset;
    }
    return true;
}

std::string roland_module::display() const {
    std::string text(std::begin(display_), std::end(display_));
    for (char& character : text)
        if (character < ' ' || character > '~') character = ' ';
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

} // namespace midi
