#include "tools/midimon/describe.h"
#include "tools/midimon/event_queue.h"

#include <gtest/gtest.h>
#include <numeric>
#include <vector>

namespace {

using bytes = std::vector<std::uint8_t>;

TEST(midimon_describe, says_what_messages_mean) {
    const struct {
        bytes message;
        std::string expected;
    } cases[] = {
        {{0x91, 60, 127}, "note on channel 1 note 60 velocity 127"},
        {{0x80, 0, 64}, "note off channel 0 note 0 velocity 64"},
        {{0xAF, 127, 1}, "key pressure channel 15 note 127 pressure 1"},
        {{0xB2, 91, 3}, "control change channel 2 controller 91 value 3"},
        {{0xC3, 5}, "program change channel 3 program 5"},
        {{0xD4, 6}, "channel pressure channel 4 pressure 6"},
        {{0xE5, 0x7F, 0x7F}, "pitch bend channel 5 value 16383"},
        {{0xF1, 0x35}, "time code quarter frame 53"},
        {{0xF2, 1, 1}, "song position 129"},
        {{0xF3, 2}, "song select 2"},
        {{0xF6}, "tune request"},
        {{0xF8}, "clock"},
        {{0xFA}, "start"},
        {{0xFB}, "continue"},
        {{0xFC}, "stop"},
        {{0xFE}, "active sensing"},
        {{0xFF}, "reset"},
        {{0xF4}, "undefined"},
        {{0xFD}, "undefined"},
        {{0x91, 60}, "incomplete"},
        {{0xF0, 1, 0xF7}, "system exclusive 3 bytes"},
        {{0xF0, 1}, "system exclusive begins 2 bytes"},
        {{1, 2, 3}, "system exclusive continues 3 bytes"},
        {{1, 0xF7}, "system exclusive ends 2 bytes"},
        {{0xF7}, "system exclusive ends 1 bytes"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(midimon::describe(c.message.data(), c.message.size()), c.expected);
    const bytes note = {0x91, 60, 127};
    EXPECT_EQ(midimon::line(3142, note.data(), 3), "3.142 91 3c 7f note on channel 1 note 60 velocity 127");
    EXPECT_EQ(midimon::line(4294967295u, note.data(), 3).substr(0, 12), "4294967.295 ");
}

TEST(midimon_event_queue, keeps_order_and_counts_what_it_loses) {
    midimon::event_queue queue(4);
    bytes message(200);
    std::iota(message.begin(), message.end(), std::uint8_t(0));
    midimon::event event{};
    EXPECT_FALSE(queue.take(event));
    for (std::uint32_t round = 0; round < 3; ++round) {
        for (std::uint32_t i = 0; i < 6; ++i)
            queue.put(round * 10 + i, message.data(), i == 0 ? 200 : i);
        for (std::uint32_t i = 0; i < 4; ++i) {
            ASSERT_TRUE(queue.take(event));
            EXPECT_EQ(event.milliseconds, round * 10 + i);
            EXPECT_EQ(event.length, i == 0 ? 128 : i);
            EXPECT_TRUE(std::equal(event.bytes.begin(), event.bytes.begin() + event.length, message.begin()));
        }
        EXPECT_FALSE(queue.take(event));
        EXPECT_EQ(queue.take_lost(), 2u);
    }
}

} // namespace
