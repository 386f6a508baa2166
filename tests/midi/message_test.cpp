#include "midi/message.h"
#include "support/allocations.h"
#include "support/recording_service.h"

#include <gtest/gtest.h>

namespace {

using bytes = std::vector<std::uint8_t>;
using test_support::hex;

TEST(message, packed_messages_are_complete_or_refused) {
    const std::pair<std::uint32_t, std::size_t> lengths[] = {
        {0x007F3C91, 3}, {0x000005C1, 2}, {0x000201F2, 3}, {0x000001F3, 2}, {0x000000F6, 1},
        {0x000000F8, 1}, {0x0000F7F0, 2}, {0x00F701F0, 3}, {0xF70201F0, 4}, {0x0000803C, 0},
        {0x007F8091, 0}, {0x00803C91, 0}, {0x000080C1, 0}, {0x030201F0, 0}, {0xF78001F0, 0},
        {0x000000F4, 0}, {0x000000F9, 0}, {0x000000FD, 0}, {0x000000F7, 0},
    };
    for (const auto& [packed, length] : lengths) {
        const midi::short_bytes_t unpacked = midi::unpack(packed);
        EXPECT_EQ(unpacked.length, length) << std::hex << packed;
        for (std::size_t i = 0; i < length; ++i)
            EXPECT_EQ(unpacked.bytes[i], packed >> 8 * i & 0xFF);
        EXPECT_EQ(midi::pack(unpacked.bytes, unpacked.length), length ? packed : 0);
    }
}

TEST(message, streams_of_bytes_are_taken_apart) {
    const struct {
        bytes sent;
        const char* expected;
        bool all = true; // nothing is left out
    } cases[] = {
        {{0xF0, 1, 2, 3, 0xF7}, "f0 01 02 03 f7; "},
        {{0x91, 60, 127, 0xC1, 5}, "91 3c 7f; c1 05; "},
        {{0x91, 60, 127, 62, 127, 64}, "91 3c 7f; 91 3e 7f; "}, // running status, and a rest
        {{0x91, 0xF8, 60, 127}, "f8; 91 3c 7f; "},              // a clock in between
        {{0xF0, 1, 0xFE, 2, 0xF7}, "fe; f0 01 02 f7; "},        // also here
        {{0xF0, 0xF9, 1, 0xFD, 0xF7}, "f0 01 f7; ", false},     // undefined
        {{0xF0, 1, 2}, ""},                                     // more may come
        {{0xF0, 1, 0x91, 60, 127}, "91 3c 7f; ", false},
        {{0xF0, 1, 0xF0, 2, 0xF7}, "f0 02 f7; ", false},
        {{0x91, 60, 127, 0xF0, 1, 0xF7, 62}, "91 3c 7f; f0 01 f7; ", false}, // which ends running status
        {{0xF2, 1, 2, 3, 4}, "f2 01 02; ", false},                           // there is none for these
        {{0x91, 60, 0xF4, 1, 2}, "", false},
        {{0xF7, 0xF6, 0xF7}, "f6; ", false},
    };
    for (const auto& c : cases)
        for (std::size_t cut = 0; cut <= c.sent.size(); ++cut) {
            // Blocks of their own, so that a byte read beyond the end is noticed.
            const bytes first(c.sent.begin(), c.sent.begin() + cut), rest(c.sent.begin() + cut, c.sent.end());
            std::string taken;
            const auto take = [&](const std::uint8_t* message, std::size_t length) {
                taken += hex(message, length) + "; ";
            };
            midi::message_reader reader;
            const bool all = reader.read(first.data(), first.size(), take);
            EXPECT_EQ(reader.read(rest.data(), rest.size(), take) && all, c.all);
            EXPECT_EQ(taken, c.expected) << hex(c.sent.data(), c.sent.size()) << " cut at " << cut;
        }
}

TEST(message, a_message_that_is_too_long_is_left_out) {
    for (const std::size_t length : {midi::longest_sysex, midi::longest_sysex + 1}) {
        bytes sent(length + 1, 1);
        sent.front() = midi::sysex_begin;
        sent[length - 1] = midi::sysex_end;
        sent.back() = 0xF6;
        midi::message_reader reader;
        reader.reserve();
        std::size_t taken = 0;
        const auto take = [&](const std::uint8_t*, std::size_t count) { taken += count; };
        const bool fits = length == midi::longest_sysex;
        const auto before = test_support::allocations();
        EXPECT_EQ(reader.read(sent.data(), sent.size(), take), fits);
        EXPECT_EQ(test_support::allocations(), before);
        EXPECT_EQ(taken, fits ? length + 1 : 1);
    }
}

} // namespace
