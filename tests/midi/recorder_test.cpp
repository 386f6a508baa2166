#include "midi/drivers/recorder.h"
#include "midi/message.h"
#include "support/allocations.h"
#include "support/capture.h"
#include "support/recording_service.h"

#include <algorithm>
#include <future>
#include <gtest/gtest.h>
#include <iostream>
#include <new>
#include <thread>

namespace {

using test_support::hex;

// What a recording was given, kept beyond its life. It can be made to fail, or to wait inside a call.
struct notes {
    std::vector<std::string> messages;
    std::vector<double> times;
    std::string end;
    std::size_t fails_at = std::size_t(-1);
    bool throws = false;           // when it fails
    std::shared_future<void> gate; // waited for at the first message, when valid
};

class noting_recording : public midi::recording_t {
public:
    explicit noting_recording(notes& kept) : notes_(kept) {}
    bool message(double time, const std::uint8_t* bytes, std::size_t length) override {
        if (notes_.gate.valid()) notes_.gate.wait();
        notes_.messages.push_back(hex(bytes, length));
        const bool fails = notes_.messages.size() == notes_.fails_at;
        if (fails && notes_.throws) throw std::bad_alloc();
        return advance(time) && !fails;
    }
    bool advance(double time) override {
        notes_.times.push_back(time);
        return true;
    }
    void finish(double time) override {
        notes_.times.push_back(time);
        notes_.end += "finished";
    }
    void discard() override { notes_.end += "discarded"; }
    std::string name() const override { return "notes"; }

private:
    notes& notes_;
};

struct recorder : testing::Test {
    notes kept;
    midi::result_t play(midi::recorder& device, int note) {
        const std::uint8_t bytes[] = {0x90, std::uint8_t(note), 100};
        return device.short_message(midi::pack(bytes, 3));
    }
};

TEST_F(recorder, records_everything_in_order_and_drops_nothing_but_emptiness) {
    midi::recorder(std::make_unique<noting_recording>(kept)).close();
    EXPECT_EQ(kept.end, "discarded");
    kept = {};
    midi::recorder device(std::make_unique<noting_recording>(kept));
    // A long message comes in pieces with realtime bytes in them.
    const std::uint8_t sysex[] = {0xF0, 1, 2, 0xF8, 3, 4, 5, 6, 7, 8, 0xF7};
    EXPECT_EQ(play(device, 60), midi::no_error);
    EXPECT_EQ(device.long_message(sysex, 6), midi::no_error);
    EXPECT_EQ(device.long_message(sysex + 6, 5), midi::no_error);
    EXPECT_NE(device.short_message(0x3C), midi::no_error) << "not a message";
    const std::size_t before = test_support::allocations();
    for (int i = 0; i < 10000; ++i) // more than wait at once
        ASSERT_EQ(play(device, i & 127), midi::no_error);
    EXPECT_EQ(test_support::allocations(), before);
    EXPECT_EQ(device.close(), midi::no_error);
    EXPECT_EQ(device.close(), midi::no_error);
    std::vector<std::string> expected = {"90 3c 64", "f8", "f0 01 02 03 04 05 06 07 08 f7"};
    for (int i = 0; i < 10000; ++i) {
        const std::uint8_t bytes[] = {0x90, std::uint8_t(i & 127), 100};
        expected.push_back(hex(bytes, 3));
    }
    EXPECT_TRUE(kept.messages == expected);
    EXPECT_TRUE(std::is_sorted(kept.times.begin(), kept.times.end()));
    EXPECT_EQ(kept.end, "finished");
}

TEST_F(recorder, refuses_messages_after_its_recording_failed) {
    for (const bool throws : {false, true}) {
        kept = {};
        kept.fails_at = 2;
        kept.throws = throws;
        const test_support::capture err(std::cerr);
        midi::recorder device(std::make_unique<noting_recording>(kept));
        midi::result_t result = midi::no_error;
        // The failure shows when the thread has come to it.
        for (int i = 0; i < 20000 && result == midi::no_error; ++i) {
            result = play(device, 60);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_NE(result, midi::no_error);
        EXPECT_NE(device.close(), midi::no_error);
        EXPECT_EQ(kept.messages.size(), 2u);
        EXPECT_EQ(kept.end, "finished") << "a failed recording is still brought to its end";
        EXPECT_EQ(err.text(), "notes: the recording cannot go on and ends here.\n");
    }
}

TEST_F(recorder, a_recording_that_hangs_does_not_hang_the_player) {
    std::promise<void> open_gate;
    kept.gate = open_gate.get_future().share();
    midi::recorder device(std::make_unique<noting_recording>(kept));
    std::size_t taken = 0;
    while (taken < 100000 && play(device, 60) == midi::no_error)
        ++taken;
    EXPECT_GE(taken, 4096u);
    EXPECT_LT(taken, 100000u);
    open_gate.set_value();
    EXPECT_EQ(device.close(), midi::no_error);
    EXPECT_EQ(kept.messages.size(), taken) << "what was taken is recorded";
}

} // namespace
