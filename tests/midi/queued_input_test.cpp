#include "midi/message.h"
#include "midi/queued_input.h"
#include "support/capture.h"
#include "support/scripted_inputs.h"

#include <gtest/gtest.h>
#include <numeric>
#include <thread>

namespace {

using bytes = std::vector<std::uint8_t>;
using test_support::capture;

TEST(message_queue, keeps_order_and_tells_what_it_loses) {
    midi::message_queue queue(8 * 20);
    bytes all(128);
    std::iota(all.begin(), all.end(), std::uint8_t(1));
    midi::queued_message taken;
    EXPECT_FALSE(queue.take(taken));
    // What fits: 17 slots for the longest, one for up to three bytes, two for up to eleven.
    const struct {
        std::size_t lengths[6];
        std::size_t lost;
    } rounds[] = {{{128, 1, 2, 3, 3, 3}, 2}, {{3, 128, 11, 11, 1, 1}, 3}, {{11, 12, 128, 3, 3, 3}, 1}};
    bool loses = false;
    for (const auto& round : rounds) {
        std::vector<std::pair<std::size_t, bool>> fitting;
        std::uint32_t time = 0xFFFFFFF0;
        for (const std::size_t length : round.lengths) {
            const bool fits = queue.put(++time, all.data(), length);
            if (fits) fitting.emplace_back(length, std::exchange(loses, false));
            loses = loses || !fits;
        }
        EXPECT_EQ(fitting.size(), 6 - round.lost);
        for (const auto& [length, after_loss] : fitting) {
            taken.bytes.fill(0xFF);
            ASSERT_TRUE(queue.take(taken));
            EXPECT_EQ(taken.length, length);
            EXPECT_EQ(taken.after_loss, after_loss);
            EXPECT_TRUE(std::equal(all.begin(), all.begin() + std::ptrdiff_t(length), taken.bytes.begin()));
            for (std::size_t i = length; i < 4; ++i)
                EXPECT_EQ(taken.bytes[i], 0) << "a short message has four bytes";
        }
        EXPECT_FALSE(queue.take(taken));
        EXPECT_EQ(queue.take_lost(), round.lost);
    }
    EXPECT_EQ(taken.milliseconds, 0xFFFFFFF0 + 6);
}

TEST(message_queue, carries_everything_from_one_thread_to_another) {
    midi::message_queue queue(512);
    constexpr std::uint32_t count = 200'000;
    std::thread putting([&] {
        bytes message(128);
        for (std::uint32_t i = 0; i < count;) {
            const std::size_t length = 1 + i % 40;
            message.assign(length, std::uint8_t(i));
            if (queue.put(i, message.data(), length))
                ++i;
            else
                std::this_thread::yield();
        }
    });
    midi::queued_message taken;
    std::uint32_t wrong = 0;
    for (std::uint32_t i = 0; i < count;) {
        if (!queue.take(taken)) {
            std::this_thread::yield();
            continue;
        }
        const bytes expected(1 + i % 40, std::uint8_t(i));
        wrong += taken.milliseconds != i || taken.length != expected.size() ||
                 !std::equal(expected.begin(), expected.end(), taken.bytes.begin());
        ++i;
    }
    putting.join();
    EXPECT_EQ(wrong, 0u);
}

TEST(queued_input, keeps_what_arrives_and_wakes_its_owner) {
    static int woken;
    woken = 0;
    test_support::scripted_inputs service({"Keys"});
    const capture out(std::cout), err(std::cerr);
    midi::queued_input input(service, [] { ++woken; });
    ASSERT_TRUE(input.open("Keys"));
    service.send(midi::input_event::data, 0x7F3C91, 5);
    service.send(midi::input_event::data, 0x05C1, 6);
    bytes sysex(130, 0x11);
    while (!sysex.empty())
        ASSERT_TRUE(service.send_long(sysex, 7));
    EXPECT_EQ(woken, 5) << "also when the device was opened";
    midi::queued_message message;
    for (const std::size_t length : {3, 2, 128, 2}) {
        ASSERT_TRUE(input.take(message));
        EXPECT_EQ(message.length, length);
    }
    EXPECT_FALSE(input.take(message));
}

// Events: "d" the device has gone, "s" its server, "l" a loop was cut, "b" it is back; "?" asks.
TEST(queued_input, tells_what_becomes_of_the_device) {
    const struct {
        const char *events, *told;
    } cases[] = {
        {"??", ""},
        {"d??b??", "Keys has gone.\nKeys is back.\n"},
        {"s?b?", "The server of Keys has gone.\nKeys is back.\n"},
        {"db??", "Keys has gone.\nKeys is back.\n"},
        {"ds?b?", "The server of Keys has gone.\nKeys is back.\n"},
        {"lb?lb??", "Keys: disconnected from what this program sends.\n"
                    "Keys: disconnected from what this program sends.\n"},
    };
    for (const auto& c : cases) {
        test_support::scripted_inputs service({"Keys"});
        const capture out(std::cout);
        capture err(std::cerr);
        midi::queued_input input(service);
        ASSERT_TRUE(input.open(0u));
        for (const char* event = c.events; *event; ++event)
            switch (*event) {
            case '?':
                if (const auto news = input.news()) midi::report_news(input.name(), *news);
                break;
            case 'b':
                service.send(midi::input_event::open, 0, 0);
                break;
            default:
                const auto what = *event == 'd'   ? midi::input_absence::device
                                  : *event == 's' ? midi::input_absence::service
                                                  : midi::input_absence::loop;
                service.send(midi::input_event::close, static_cast<std::uintptr_t>(what), 0);
            }
        EXPECT_EQ(err.take(), c.told) << c.events;
    }
}

TEST(queued_input, looks_for_a_device_that_does_not_tell) {
    struct : test_support::scripted_inputs {
        using scripted_inputs::scripted_inputs;
        bool tells_absence() const override { return tells; }
        bool tells = true;
    } service({"Pads", "Keys"});
    const capture out(std::cout);
    capture err(std::cerr);
    midi::queued_input input(service);
    ASSERT_TRUE(input.open("Keys"));
    service.take_calls();
    service.names = {"Pads"};
    input.look_for_device();
    EXPECT_FALSE(input.news());
    service.tells = false;
    service.failing = {"stop", "reset", "unprepare"};
    for (int i = 0; i < 2; ++i)
        input.look_for_device();
    EXPECT_EQ(service.take_calls(), "stop; reset; unprepare; close; destroyed; ");
    EXPECT_EQ(input.news(), midi::input_absence::device);
    service.names = {"Keys", "Pads"};
    for (int i = 0; i < 2; ++i)
        input.look_for_device();
    EXPECT_EQ(service.take_calls(), "open 0; start; prepare; queue; ");
    EXPECT_EQ(input.news(), midi::input_absence::none);
    EXPECT_EQ(err.text(), "");
    // Somebody else has it now: said once.
    service.names = {};
    input.look_for_device();
    service.names = {"Keys"};
    service.failing = {"open 0"};
    for (int i = 0; i < 3; ++i)
        input.look_for_device();
    EXPECT_EQ(err.text(), "DeviceID=0: can't open MIDI device.\n");
}

} // namespace
