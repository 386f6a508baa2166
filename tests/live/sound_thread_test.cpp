// The thread that renders for the speakers, while everything that a player can do is done.

#include "midi/drivers/fluidsynth_outputs.h"
#include "midi/midi_out.h"
#include "midi/senders.h"
#include "support/capture.h"
#include "support/jack_server.h"

#include <gtest/gtest.h>
#ifdef QUENVAREL_WATCH_SOUND
#include "sound_thread_watch.h"
#endif

namespace {

using namespace test_support;

TEST(sound_thread, neither_allocates_nor_waits_for_long) {
    jack_server jack(2, 64);
    ASSERT_TRUE(jack.runs());
    midi::fluidsynth_outputs service;
    midi::midi_out_t port(service);
    const capture out(std::cout);
    ASSERT_TRUE(port.open(0u));
    ASSERT_TRUE(jack_server::until_port("quenvarel:left"));
    const std::uint8_t reverb[] = {0x10, 0, 1, 2, 7, 7}, text[] = {0x20, 0, 0, 'H', 'e', 'l', 'l', 'o'};
    for (int round = 0; round < 100; ++round) {
        const int channel = round % 16;
        EXPECT_TRUE(midi::pgmchg(port, channel, std::uint8_t(round * 5 % 128)));
        for (int key = 20; key < 100; key += 7)
            EXPECT_TRUE(midi::noteon(port, channel, std::uint8_t(key), 127));
        EXPECT_TRUE(midi::rolandsysex(port, 0x41, 0x10, 0x16, 0x12, reverb, sizeof reverb));
        EXPECT_TRUE(midi::rolandsysex(port, 0x41, 0x10, 0x16, 0x12, text, sizeof text));
        for (int value = 0; value < 300; ++value) {
            const std::uint8_t bend[4] = {std::uint8_t(0xE0 | channel), 0, std::uint8_t(value % 128)};
            EXPECT_TRUE(port.putbuf(bend, 3));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        for (int key = 20; key < 100; key += 7)
            EXPECT_TRUE(midi::noteoff(port, channel, std::uint8_t(key)));
    }
#ifdef QUENVAREL_WATCH_SOUND
    RecordProperty("periods", sound_threads.periods);
    RecordProperty("waits", sound_threads.waits);
    RecordProperty("allocations_by_fluidsynth", sound_threads.allocations_by_fluidsynth);
    EXPECT_GT(sound_threads.periods, 20);
    EXPECT_GT(sound_threads.locks, 20);
    EXPECT_EQ(sound_threads.allocations, 0);
    // FluidSynth takes one block for each call, and gives it back.
    EXPECT_LE(sound_threads.allocations_by_fluidsynth, sound_threads.periods);
    EXPECT_EQ(sound_threads.releases_by_fluidsynth, sound_threads.allocations_by_fluidsynth);
    EXPECT_LT(sound_threads.longest_held, 100'000) << "nanoseconds: less than a tenth of a period";
#endif
    EXPECT_TRUE(port.close());
}

} // namespace
