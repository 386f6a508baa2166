#include "midi/drivers/roland_module.h"

#include <gtest/gtest.h>
#include <numeric>
#include <vector>

namespace {

using bytes = std::vector<std::uint8_t>;
using change = midi::roland_module::change;

// A message as the port sends it.
bytes roland(const bytes& payload) {
    bytes message = {0xF0, 0x41, 0x10, 0x16, 0x12};
    for (const std::uint8_t byte : payload)
        message.push_back(byte);
    message.push_back(std::uint8_t(-std::accumulate(payload.begin(), payload.end(), 0) & 0x7F));
    message.push_back(0xF7);
    return message;
}

bytes text_at(char position, const std::string& text) {
    const std::string payload = std::string(" \0", 2) + position + text;
    return {payload.begin(), payload.end()};
}

TEST(roland_module, understands_reverb_and_display) {
    const struct {
        bytes payload;
        change expected;
        std::array<int, 3> reverb; // mode, time, level
        const char* display;
    } steps[] = {
        {{0x10, 0, 1, 2, 6, 7}, change::reverb, {2, 6, 7}, ""},
        {{0x10, 0, 2, 1}, change::reverb, {2, 1, 7}, ""},     // the time alone
        {{0x10, 0, 0, 64, 3}, change::reverb, {3, 1, 7}, ""}, // from the tuning before it on
        {{0x10, 0, 0, 64}, change::none, {3, 1, 7}, ""},      // the tuning alone
        {{0x10, 0, 1, 4, 0, 0}, change::none, {3, 1, 7}, ""}, // there is no mode 4
        {text_at(0, "Quenvarel-MIDI Ver 2"), change::display, {3, 1, 7}, "Quenvarel-MIDI Ver 2"},
        {text_at(19, "3 and what is beyond"), change::display, {3, 1, 7}, "Quenvarel-MIDI Ver 3"},
        {text_at(0, "\x01"), change::display, {3, 1, 7}, " uenvarel-MIDI Ver 3"},
        {{0x20, 1, 0, 0}, change::display_reset, {3, 1, 7}, ""},
        {text_at(2, "Hi"), change::display, {3, 1, 7}, "  Hi"},
        {{0x7F, 0, 0, 0}, change::none, {3, 1, 7}, "  Hi"},
    };
    midi::roland_module module;
    for (const auto& step : steps) {
        const bytes message = roland(step.payload);
        EXPECT_EQ(module.receive(message.data(), message.size()), step.expected);
        EXPECT_EQ((std::array{module.reverb_mode, module.reverb_time, module.reverb_level}), step.reverb);
        EXPECT_EQ(module.display(), step.display);
    }
}

TEST(roland_module, ignores_what_is_not_for_it) {
    const bytes good = roland({0x10, 0, 1, 1, 1, 1});
    midi::roland_module module;
    for (std::size_t i = 0; i < good.size(); ++i) {
        EXPECT_EQ(module.receive(bytes(good.begin(), good.begin() + i).data(), i), change::none) << "cut";
        // Another maker, device, model, command, a wrong checksum, no end.
        for (const std::uint8_t bit : {1, 64}) {
            bytes bad = good;
            bad[i] ^= bit;
            EXPECT_EQ(module.receive(bad.data(), bad.size()), change::none) << i;
        }
    }
    EXPECT_EQ(module.receive(good.data(), good.size()), change::reverb);
}

} // namespace
