#include "midi/drivers/recorder.h"
#include "midi/message.h"
#include "support/allocations.h"
#include "support/capture.h"
#include "support/recording_service.h"

#include <algorithm>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <new>
#include <thread>

namespace {

using test_support::hex;

// What a recording was given, kept beyond its life.
struct notes {
    std::vector<std::string> messages;
    std::vector<double> times;
    std::string end;
    std::function<bool()> accepts = [] { return true; }; // a message
};

struct noting_recording : midi::recording_t {
    notes& kept;
    explicit noting_recording(notes& its_notes) : kept(its_notes) {}
    bool message(double time, const std::uint8_t* bytes, std::size_t length) override {
        kept.messages.push_back(hex(bytes, length));
        return advance(time) && kept.accepts();
    }
    bool advance(double time) override { return kept.times.push_back(time), true; }
    void finish(double time) override {
        kept.times.push_back(time);
        kept.end += "finished";
    }
    void discard() override { kept.end += "discarded"; }
    std::string name() const override { return "notes"; }
};

struct recorder : testing::Test {
    notes kept;
    std::optional<midi::recorder> device{std::make_unique<noting_recording>(kept)};
    midi::result_t play(int note) { return device->short_message(0x640090 | std::uint32_t(note) << 8); }
    void again() {
        device.reset();
        kept = {};
        device.emplace(std::make_unique<noting_recording>(kept));
    }
};

TEST_F(recorder, records_everything_in_order_and_drops_nothing_but_emptiness) {
    device->close();
    EXPECT_EQ(kept.end, "discarded");
    again();
    // A long message comes in pieces with realtime bytes in them.
    const std::uint8_t sysex[] = {0xF0, 1, 2, 0xF8, 3, 4, 5, 6, 7, 8, 0xF7};
    EXPECT_EQ(device->long_message(sysex, 6), midi::no_error);
    EXPECT_EQ(device->long_message(sysex + 6, 5), midi::no_error);
    EXPECT_NE(device->short_message(0x3C), midi::no_error) << "not a message";
    std::vector<std::string> expected = {"f8", "f0 01 02 03 04 05 06 07 08 f7"};
    for (int i = 0; i < 10000; ++i) { // more than wait at once
        const std::uint8_t bytes[] = {0x90, std::uint8_t(i & 127), 100};
        expected.push_back(hex(bytes, 3));
        const std::size_t before = test_support::allocations();
        ASSERT_EQ(play(i & 127), midi::no_error);
        EXPECT_EQ(test_support::allocations(), before);
    }
    EXPECT_EQ(device->close(), midi::no_error);
    EXPECT_EQ(device->close(), midi::no_error);
    EXPECT_TRUE(kept.messages == expected);
    EXPECT_TRUE(std::is_sorted(kept.times.begin(), kept.times.end()));
    EXPECT_EQ(kept.end, "finished");
}

TEST_F(recorder, refuses_messages_after_its_recording_failed) {
    for (const bool throws : {false, true}) {
        again();
        kept.accepts = [&] {
            if (throws && kept.messages.size() == 2) throw std::bad_alloc();
            return kept.messages.size() < 2;
        };
        const test_support::capture err(std::cerr);
        midi::result_t result = midi::no_error;
        // The failure shows when the thread has come to it.
        for (int i = 0; i < 20000 && result == midi::no_error; ++i) {
            result = play(60);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_NE(result, midi::no_error);
        EXPECT_NE(device->close(), midi::no_error);
        EXPECT_EQ(kept.messages.size(), 2u);
        EXPECT_EQ(kept.end, "finished") << "a failed recording is still brought to its end";
        EXPECT_EQ(err.text(), "notes: the recording cannot go on and ends here.\n");
    }
}

TEST_F(recorder, a_recording_that_hangs_does_not_hang_the_player) {
    std::promise<void> gate;
    kept.accepts = [opened = gate.get_future().share()] { return opened.wait(), true; };
    std::size_t taken = 0;
    while (taken < 100000 && play(60) == midi::no_error)
        ++taken;
    EXPECT_TRUE(taken >= 4096u && taken < 100000u) << taken;
    gate.set_value();
    EXPECT_EQ(device->close(), midi::no_error);
    EXPECT_EQ(kept.messages.size(), taken) << "what was taken is recorded";
}

} // namespace
