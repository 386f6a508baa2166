// What no event may cause: crashes, stuck notes, allocations, lines in pieces.

#include "player_driver.h"

#include "support/allocations.h"
#include "support/counting_service.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <set>

namespace {

using test_support::player_driver;

// Follows the messages as a synthesizer does.
std::set<std::string> sounding_after(const std::vector<std::string>& messages,
                                     std::set<std::string> sounding = {}) {
    for (const std::string& message : messages) {
        const std::string channel = message.substr(1, 1);
        if (message[0] == '9') {
            const std::string note = channel + message.substr(2, 3);
            if (message.ends_with(" 00"))
                sounding.erase(note);
            else
                sounding.insert(note);
        } else if (message.substr(0, 1) == "b" && message.substr(2) == " 7b 00") {
            std::erase_if(sounding, [&](const std::string& note) { return note.substr(0, 1) == channel; });
        }
    }
    return sounding;
}

TEST(player_limits, random_events_leave_no_note_sounding) {
    player_driver driver;
    quenvarel::Quenvarel& player = driver.player();
    std::mt19937 random(20240607);
    const auto any = [&](int least, int most) { return std::uniform_int_distribution(least, most)(random); };
    constexpr int lowest = std::numeric_limits<int>::min(), highest = std::numeric_limits<int>::max();
    std::set<std::string> sounding;
    for (int i = 0; i < 100000; ++i) {
        const auto key = static_cast<unsigned char>(any(0, 255));
        const int x = any(0, 9) ? any(-10, 900) : any(lowest, highest),
                  y = any(0, 9) ? any(-10, 300) : any(lowest, highest);
        // Escape would only ask to leave; everything else may come.
        switch (any(0, 12)) {
        case 0:
        case 1:
        case 2:
            player.keyboard(key == 27 ? 'z' : key, x, y);
            break;
        case 3:
        case 4:
            player.keyboardup(key, x, y);
            break;
        case 5:
            player.special(any(0, 3) ? any(1, 120) : any(lowest, highest), x, y);
            break;
        case 6:
            player.specialup(any(0, 3) ? any(110, 120) : any(lowest, highest), x, y);
            break;
        case 7:
            driver.play((any(0, 1) ? "press:" : "release:") + std::to_string(any(0, 127)));
            break;
        case 8:
            driver.play(any(0, 3) ? "drag:" + std::to_string(any(0, 127)) : "drag:");
            break;
        case 9:
            player.mouse(any(0, 9) ? any(0, 2) : any(lowest, highest), any(0, 1), x, y);
            player.motion(x, y);
            break;
        case 10:
            player.mousewheel(any(0, 3) ? 0 : any(lowest, highest),
                              any(0, 1) ? any(-1, 1) : any(lowest, highest), x, y);
            break;
        case 11:
            if (any(0, 9) == 0) player.reshape(any(0, 2) * any(0, 2000), any(-1, 1000));
            if (any(0, 9) == 0) player.focuslost();
            break;
        case 12:
            sounding = sounding_after(driver.service().take_messages(), std::move(sounding));
            player.keyboardup(' ', x, y);
            sounding = sounding_after(driver.service().take_messages(), std::move(sounding));
            ASSERT_TRUE(sounding.empty()) << i << ": " << *sounding.begin();
        }
        if (i % 1000 == 0) driver.traced();
    }
    driver.end();
    sounding = sounding_after(driver.service().take_messages(), std::move(sounding));
    EXPECT_TRUE(sounding.empty());
}

// Counts how often something is written, and keeps none of it.
struct write_counter : std::streambuf {
    std::streamsize xsputn(const char*, std::streamsize count) override {
        ++writes;
        return count;
    }
    int_type overflow(int_type c) override {
        ++writes;
        return c;
    }
    int writes = 0;
};

TEST(player_limits, playing_allocates_nothing_and_writes_each_line_at_once) {
    test_support::counting_service service;
    midi::midi_out_t port(service);
    {
        const test_support::capture out(std::cout);
        port.open(0u);
    }
    quenvarel::midi_port = &port;
    quenvarel::Quenvarel player("nowhere/quenvarel", 0, 0, 36, 127, false);
    write_counter counter;
    std::streambuf* const before = std::cerr.rdbuf(&counter);
    const std::size_t allocated = test_support::allocations();
    for (int c = 1; c < 256; ++c) {
        if (c == 27) continue;
        player.keyboard(static_cast<unsigned char>(c), 0, 0);
        player.keyboardup(static_cast<unsigned char>(c), 0, 0);
    }
    for (const int key : {4, 104, 105, 106, 107, 108, 112, 5}) {
        player.special(key, 0, 0);
        player.specialup(key, 0, 0);
    }
    const std::size_t after = test_support::allocations();
    player.special(1, 0, 0);
    std::cerr.rdbuf(before);
    EXPECT_EQ(after, allocated);
    EXPECT_GT(test_support::allocations(), after) << "a long message is counted";
    // One line for each key down and special key, but Shift, one for Space up and one for F1.
    EXPECT_EQ(counter.writes, 254 + 7 + 1 + 1);
    quenvarel::midi_port = nullptr;
}

} // namespace
