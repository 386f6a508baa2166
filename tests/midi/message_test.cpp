#include "midi/message.h"
#include "support/allocations.h"
#include "support/recording_service.h"

#include <gtest/gtest.h>

namespace {

using bytes = std::vector<std::uint8_t>;
using test_support::hex;

TEST(message, packed_messages_are_complete_or_refused) {
    const std::pair<std::uint32_t, std::string> cases[] = {
        {0x007F3C91, "91 3c 7f"},
        {0x000005C1, "c1 05"},
        {0x000201F2, "f2 01 02"},
        {0x000001F3, "f3 01"},
        {0x000000F6, "f6"},
        {0x000000F8, "f8"},
        {0x0000F7F0, "f0 f7"},
        {0x00F701F0, "f0 01 f7"},
        {0xF70201F0, "f0 01 02 f7"},
        // Refused.
        {0x0000803C, ""},
        {0x007F8091, ""},
        {0x00803C91, ""},
        {0x000080C1, ""},
        {0x030201F0, ""},
        {0xF78001F0, ""},
        {0x000000F4, ""},
        {0x000000F9, ""},
        {0x000000FD, ""},
        {0x000000F7, ""},
    };
    for (const auto& [packed, expected] : cases) {
        const midi::short_bytes_t unpacked = midi::unpack(packed);
        EXPECT_EQ(hex(unpacked.bytes, unpacked.length), expected) << std::hex << packed;
        EXPECT_EQ(midi::pack(unpacked.bytes, unpacked.length), expected.empty() ? 0 : packed);
    }
}

TEST(message, streams_of_bytes_are_taken_apart) {
    const struct {
        bytes sent;
        std::vector<std::string> expected;
        bool all; // nothing is left out
    } cases[] = {
        {{0xF0, 1, 2, 3, 0xF7}, {"f0 01 02 03 f7"}, true},
        {{0x91, 60, 127, 0xC1, 5}, {"91 3c 7f", "c1 05"}, true},
        {{0x91, 60, 127, 62, 127, 64}, {"91 3c 7f", "91 3e 7f"}, true}, // running status, and a rest
        {{0x91, 0xF8, 60, 127}, {"f8", "91 3c 7f"}, true},              // a clock in between
        {{0xF0, 1, 0xFE, 2, 0xF7}, {"fe", "f0 01 02 f7"}, true},        // also here
        {{0xF0, 0xF9, 1, 0xFD, 0xF7}, {"f0 01 f7"}, false},             // undefined
        {{0xF0, 1, 2}, {}, true},                                       // more may come
        {{0xF0, 1, 0x91, 60, 127}, {"91 3c 7f"}, false},
        {{0xF0, 1, 0xF0, 2, 0xF7}, {"f0 02 f7"}, false},
        {{0x91, 60, 127, 0xF0, 1, 0xF7, 62, 127},
         {"91 3c 7f", "f0 01 f7"},
         false},                                   // which ends running status
        {{0xF2, 1, 2, 3, 4}, {"f2 01 02"}, false}, // there is none for these
        {{0x91, 60, 0xF4, 1, 2}, {}, false},
        {{0xF7, 0xF6, 0xF7}, {"f6"}, false},
    };
    for (const auto& c : cases) {
        for (std::size_t cut = 0; cut <= c.sent.size(); ++cut) {
            // Blocks of their own, so that a byte read beyond the end is noticed.
            const bytes first(c.sent.begin(), c.sent.begin() + cut), rest(c.sent.begin() + cut, c.sent.end());
            std::vector<std::string> taken;
            const auto take = [&](const std::uint8_t* message, std::size_t length) {
                taken.push_back(hex(message, length));
            };
            midi::message_reader reader;
            const bool all = reader.read(first.data(), first.size(), take);
            EXPECT_EQ(reader.read(rest.data(), rest.size(), take) && all, c.all);
            EXPECT_EQ(taken, c.expected) << hex(c.sent.data(), c.sent.size()) << " cut at " << cut;
        }
    }
}

TEST(message, a_message_that_is_too_long_is_left_out) {
    for (const std::size_t excess : {0u, 1u}) {
        bytes sent{midi::sysex_begin};
        sent.resize(midi::longest_sysex - 1 + excess, 1);
        sent.insert(sent.end(), {midi::sysex_end, 0xF6});
        midi::message_reader reader;
        reader.reserve();
        std::vector<std::size_t> lengths;
        const auto before = test_support::allocations();
        lengths.reserve(2);
        const bool all = reader.read(sent.data(), sent.size(), [&](const std::uint8_t*, std::size_t length) {
            lengths.push_back(length);
        });
        EXPECT_EQ(test_support::allocations() - before, 1u) << "that of the test";
        EXPECT_EQ(all, excess == 0);
        EXPECT_EQ(lengths,
                  excess ? std::vector<std::size_t>{1} : (std::vector<std::size_t>{midi::longest_sysex, 1}));
    }
}

} // namespace
