#include "midi/drivers/recorder.h"
#include "midi/message.h"
#include "support/allocations.h"
#include "support/recording_service.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <new>
#include <thread>

namespace {

using test_support::hex;

// What a recording was given, kept beyond its life. It can be made to fail, or to wait inside a call.
struct notes {
    std::vector<std::string> messages;
    std::vector<double> times;
    int finished = 0;
    std::size_t fails_at = std::size_t(-1);
    bool throws = false;           // when it fails
    std::shared_future<void> gate; // waited for at the first message, when valid
};

class noting_recording : public midi::recording_t {
public:
    explicit noting_recording(notes& kept) : notes_(kept) {}
    bool message(double time, const std::uint8_t* bytes, std::size_t length) override {
        if (notes_.gate.valid()) notes_.gate.wait();
        notes_.times.push_back(time);
        notes_.messages.push_back(hex(bytes, length));
        const bool fails = notes_.messages.size() == notes_.fails_at;
        if (fails && notes_.throws) throw std::bad_alloc();
        return !fails;
    }
    bool advance(double time) override {
        notes_.times.push_back(time);
        return true;
    }
    void finish(double time) override {
        notes_.times.push_back(time);
        ++notes_.finished;
    }
    void discard() override {}
    std::string name() const override { return "notes"; }

private:
    notes& notes_;
};

std::uint32_t note_on(int note) {
    const std::uint8_t bytes[] = {0x90, std::uint8_t(note), 100};
    return midi::pack(bytes, 3);
}

TEST(recorder, records_everything_in_order) {
    notes kept;
    midi::recorder recorder(std::make_unique<noting_recording>(kept));
    const std::uint8_t sysex[] = {0xF0, 1, 2, 3, 4, 0xF7};
    EXPECT_EQ(recorder.short_message(note_on(60)), midi::no_error);
    EXPECT_EQ(recorder.long_message(sysex, sizeof sysex), midi::no_error);
    EXPECT_NE(recorder.short_message(0x3C), midi::no_error) << "not a message";
    for (int i = 0; i < 10000; ++i) // more than wait at once
        ASSERT_EQ(recorder.short_message(note_on(i & 127)), midi::no_error);
    EXPECT_EQ(recorder.close(), midi::no_error);
    EXPECT_EQ(recorder.close(), midi::no_error);
    ASSERT_EQ(kept.messages.size(), 10002u);
    EXPECT_EQ(kept.messages[0], "90 3c 64");
    EXPECT_EQ(kept.messages[1], "f0 01 02 03 04 f7");
    for (int i = 0; i < 10000; ++i) {
        const std::uint8_t bytes[] = {0x90, std::uint8_t(i & 127), 100};
        ASSERT_EQ(kept.messages[std::size_t(i) + 2], hex(bytes, 3));
    }
    EXPECT_TRUE(std::is_sorted(kept.times.begin(), kept.times.end()));
    EXPECT_EQ(kept.finished, 1);
}

TEST(recorder, takes_short_messages_without_allocating) {
    notes kept;
    midi::recorder recorder(std::make_unique<noting_recording>(kept));
    const std::size_t before = test_support::allocations();
    for (int note = 0; note < 128; ++note)
        recorder.short_message(note_on(note));
    EXPECT_EQ(test_support::allocations(), before);
    recorder.close();
    EXPECT_EQ(kept.messages.size(), 128u);
}

TEST(recorder, refuses_messages_after_its_recording_failed) {
    for (const bool throws : {false, true}) {
        notes kept;
        kept.fails_at = 2;
        kept.throws = throws;
        midi::recorder recorder(std::make_unique<noting_recording>(kept));
        midi::result_t result = midi::no_error;
        // The failure shows when the thread has come to it.
        for (int i = 0; i < 2000 && result == midi::no_error; ++i) {
            result = recorder.short_message(note_on(60));
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_NE(result, midi::no_error);
        EXPECT_NE(recorder.close(), midi::no_error);
        EXPECT_EQ(kept.messages.size(), 2u);
        EXPECT_EQ(kept.finished, 1) << "a failed recording is still brought to its end";
    }
}

TEST(recorder, a_recording_that_hangs_does_not_hang_the_player) {
    notes kept;
    std::promise<void> open_gate;
    kept.gate = open_gate.get_future().share();
    midi::recorder recorder(std::make_unique<noting_recording>(kept));
    std::size_t taken = 0;
    while (taken < 100000 && recorder.short_message(note_on(60)) == midi::no_error)
        ++taken;
    EXPECT_GE(taken, 4096u);
    EXPECT_LT(taken, 100000u);
    open_gate.set_value();
    EXPECT_EQ(recorder.close(), midi::no_error);
    EXPECT_EQ(kept.messages.size(), taken) << "what was taken is recorded";
}

} // namespace
