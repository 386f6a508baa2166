#include "midi/midi_out.h"
#include "midi/senders.h"
#include "support/capture.h"
#include "support/recording_service.h"

#include <gtest/gtest.h>
#include <stdexcept>

namespace {

using bytes = std::vector<std::uint8_t>;

class senders : public testing::Test {
protected:
    void SetUp() override {
        const test_support::capture out(std::cout);
        ASSERT_TRUE(port.open(0u));
        service.calls.clear();
        testing::internal::CaptureStdout();
    }
    std::string printed() { return testing::internal::GetCapturedStdout(); }
    test_support::recording_service service;
    midi::midi_out_t port{service};
};

TEST_F(senders, put_the_stated_bytes_on_the_wire) {
    using namespace midi;
    const struct {
        bool (*send)(midi_port_t&);
        std::string expected;
    } cases[] = {
        {[](auto& p) { return pgmchg(p, 17, 5); }, "short c1 05 00 00"},
        {[](auto& p) { return ctlchg(p, 3, 7, 300); }, "short b3 07 2c 00"},
        {[](auto& p) { return reverbsend(p, 0, 1); }, "short b0 5b 01 00"},
        {[](auto& p) { return noteon(p, 1, 60, 127); }, "short 91 3c 7f 00"},
        {[](auto& p) { return noteoff(p, 1, 60); }, "short 91 3c 00 00"},
        {[](auto& p) { return allnotesoff(p, 15); }, "short bf 7b 00 00"},
        {[](auto& p) { return pitchbend(p, 2, 0x7F, 0x40); }, "short e2 7f 40 00"},
        {[](auto& p) { return holdon(p, -1); }, "short bf 40 40 00"},
        {[](auto& p) { return holdoff(p, 16); }, "short b0 40 00 00"},
        {[](auto& p) { return bendrange(p, 2, 7); },
         "short b2 64 00 07; short b2 64 00 07; short b2 64 06 07"},
        {[](auto& p) { return holding(p, 60); }, "short 92 3c 7f 00; short b2 40 40 00"},
        {[](auto& p) { return tchord(p, 60); },
         "short 92 3c 7f 00; short 92 40 7f 00; short 92 43 7f 00; short 92 48 7f 00"},
    };
    for (const auto& [send, expected] : cases) {
        EXPECT_TRUE(send(port));
        EXPECT_EQ(service.take_calls(), expected);
        service.messages_before_failure = 0;
        EXPECT_FALSE(send(port));
        EXPECT_EQ(service.take_calls(), expected.substr(0, expected.find(';')))
            << "nothing follows a failure";
        service.messages_before_failure = 9;
    }
    EXPECT_EQ(printed(), "Note Number =  60, HOLDING..\nNote Number =  60, HOLDING..\n"
                         "sound number =  60, T chord..\nsound number =  60, T chord..\n");
}

TEST_F(senders, frame_system_exclusive_messages) {
    const struct {
        bool roland;
        bytes data;
        const char* expected;
    } cases[] = {{false, {}, "short f0 f7 00 00"},
                 {false, {1}, "short f0 01 f7 00"},
                 {false, {1, 2}, "short f0 01 02 f7"},
                 {false, {1, 2, 3}, "long f0 01 02 03 f7"},
                 {true, {16, 0, 1, 0, 7, 0}, "long f0 41 10 16 12 10 00 01 00 07 00 68 f7"},
                 {true, {0x40, 0x40}, "long f0 41 10 16 12 40 40 00 f7"},
                 {true, {}, "long f0 41 10 16 12 00 f7"}};
    const auto roland = [&](const std::uint8_t* data, std::size_t count) {
        return midi::rolandsysex(port, 0x41, 0x10, 0x16, 0x12, data, count);
    };
    for (const auto& c : cases) {
        const std::size_t count = c.data.size();
        EXPECT_TRUE(c.roland ? roland(c.data.data(), count) : midi::sysex(port, c.data.data(), count));
        EXPECT_EQ(service.take_calls(), c.expected);
    }
    // Lengths beyond memory; the last has room to overflow only with the header.
    const std::uint8_t one = 1;
    for (const std::size_t count : {SIZE_MAX, SIZE_MAX - 6, SIZE_MAX / 2, SIZE_MAX / 2 - 1}) {
        EXPECT_THROW(roland(&one, count), std::length_error);
        if (count == SIZE_MAX / 2 - 1) continue;
        EXPECT_THROW(midi::sysex(port, &one, count), std::length_error);
    }
    EXPECT_EQ(service.calls + printed(), "");
}

TEST_F(senders, bending_goes_to_the_top_and_sets_the_range_once) {
    EXPECT_TRUE(midi::bending(port, 5));
    const std::string sent = service.take_messages();
    EXPECT_TRUE(sent.substr(20).starts_with("b2 64 06; 92 05 7f; e2 00 40; e2 01 40; "))
        << sent.substr(0, 70);
    EXPECT_TRUE(sent.ends_with("; e2 7f 7f"));
    EXPECT_EQ(sent.size() + 2, 10u * (3 + 1 + 8192));
    service.messages_before_failure = 2;
    EXPECT_FALSE(midi::bending(port, 100));
    EXPECT_EQ(service.messages, "92 64 7f; e2 00 40; e2 01 40") << "no range the second time";
    EXPECT_EQ(printed(),
              "Note number =   5, BENDING..Please wait!!\nNote number =   5, END BENDING..Hit note key.\n"
              "Note number = 100, BENDING..Please wait!!\nNote number = 100, END BENDING..Hit note key.\n");
}

} // namespace
