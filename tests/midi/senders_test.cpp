#include "midi/midi_out.h"
#include "midi/senders.h"
#include "support/capture.h"
#include "support/recording_service.h"

#include <functional>
#include <gtest/gtest.h>
#include <iostream>
#include <limits>
#include <stdexcept>

namespace {

using calls = std::vector<std::string>;
using test_support::capture;
using test_support::recording_service;
using bytes = std::vector<std::uint8_t>;

class senders : public testing::Test {
protected:
    void SetUp() override {
        capture out(std::cout);
        ASSERT_TRUE(port.open(0u));
        service.clear();
    }
    recording_service service;
    midi::midi_out_t port{service};
};

TEST_F(senders, put_the_stated_bytes_on_the_wire) {
    using namespace midi;
    const struct {
        std::function<bool(midi_port_t&)> send;
        calls expected;
    } cases[] = {
        {[](auto& p) { return pgmchg(p, 17, 5); }, {"short c1 05 00 00"}},
        {[](auto& p) { return ctlchg(p, 3, 7, 300); }, {"short b3 07 2c 00"}},
        {[](auto& p) { return reverbsend(p, 0, 1); }, {"short b0 5b 01 00"}},
        {[](auto& p) { return noteon(p, 1, 60, 127); }, {"short 91 3c 7f 00"}},
        {[](auto& p) { return noteoff(p, 1, 60); }, {"short 91 3c 00 00"}},
        {[](auto& p) { return allnotesoff(p, 15); }, {"short bf 7b 00 00"}},
        {[](auto& p) { return pitchbend(p, 2, 0x7F, 0x40); }, {"short e2 7f 40 00"}},
        {[](auto& p) { return holdon(p, -1); }, {"short bf 40 40 00"}},
        {[](auto& p) { return holdoff(p, 16); }, {"short b0 40 00 00"}},
        {[](auto& p) { return bendrange(p, 2, 7); },
         {"short b2 64 00 07", "short b2 64 00 07", "short b2 64 06 07"}},
        {[](auto& p) { return holding(p, 60); }, {"short 92 3c 7f 00", "short b2 40 40 00"}},
        {[](auto& p) { return tchord(p, 60); },
         {"short 92 3c 7f 00", "short 92 40 7f 00", "short 92 43 7f 00", "short 92 48 7f 00"}},
    };
    testing::internal::CaptureStdout();
    for (const auto& c : cases) {
        service.clear();
        EXPECT_TRUE(c.send(port));
        EXPECT_EQ(service.calls, c.expected);
        service.clear();
        service.short_result = 1;
        EXPECT_FALSE(c.send(port));
        EXPECT_EQ(service.calls, calls{c.expected[0]}) << "nothing follows a failure";
        service.short_result = 0;
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Note Number =  60, HOLDING..\nNote Number =  60, HOLDING..\n"
              "sound number =  60, T chord..\nsound number =  60, T chord..\n");
}

TEST_F(senders, frame_system_exclusive_messages) {
    const std::pair<bytes, std::string> plain[] = {{{}, "short f0 f7 00 00"},
                                                   {{1}, "short f0 01 f7 00"},
                                                   {{1, 2}, "short f0 01 02 f7"},
                                                   {{1, 2, 3}, "long f0 01 02 03 f7"}};
    const std::pair<bytes, std::string> roland[] = {
        {{0x10, 0x00, 0x01, 0x00, 0x07, 0x00}, "long f0 41 10 16 12 10 00 01 00 07 00 68 f7"},
        {{0x40, 0x40}, "long f0 41 10 16 12 40 40 00 f7"},
        {{}, "long f0 41 10 16 12 00 f7"}};
    for (const auto& [data, expected] : plain) {
        EXPECT_TRUE(midi::sysex(port, data.data(), data.size()));
        EXPECT_EQ(service.calls.back(), expected);
    }
    for (const auto& [payload, expected] : roland) {
        EXPECT_TRUE(midi::rolandsysex(port, 0x41, 0x10, 0x16, 0x12, payload.data(), payload.size()));
        EXPECT_EQ(service.calls.back(), expected);
    }
    EXPECT_EQ(service.calls.size(), 4u + 3u);
}

TEST_F(senders, refuse_lengths_beyond_memory) {
    const std::uint8_t one = 1;
    const std::size_t most = std::numeric_limits<std::size_t>::max();
    for (const std::size_t count : {most, most - 6, most / 2, most / 2 - 1}) {
        EXPECT_THROW(midi::rolandsysex(port, 0x41, 0x10, 0x16, 0x12, &one, count), std::length_error);
        if (count > most / 2 - 1) { // which has room to overflow only with the header
            EXPECT_THROW(midi::sysex(port, &one, count), std::length_error);
        }
    }
    EXPECT_TRUE(service.calls.empty());
}

TEST_F(senders, bending_goes_to_the_top_and_sets_the_range_once) {
    testing::internal::CaptureStdout();
    EXPECT_TRUE(midi::bending(port, 5));
    ASSERT_EQ(service.messages.size(), 3u + 1 + 8192);
    EXPECT_EQ(service.messages[2], "b2 64 06");
    EXPECT_EQ(service.messages[3], "92 05 7f");
    EXPECT_EQ(service.messages[4], "e2 00 40");
    EXPECT_EQ(service.messages[5], "e2 01 40");
    EXPECT_EQ(service.messages.back(), "e2 7f 7f");
    service.clear();
    service.short_messages_before_failure = 2;
    EXPECT_FALSE(midi::bending(port, 100));
    EXPECT_EQ(service.messages, (calls{"92 64 7f", "e2 00 40", "e2 01 40"})) << "no range the second time";
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Note number =   5, BENDING..Please wait!!\nNote number =   5, END BENDING..Hit note key.\n"
              "Note number = 100, BENDING..Please wait!!\nNote number = 100, END BENDING..Hit note key.\n");
}

} // namespace
