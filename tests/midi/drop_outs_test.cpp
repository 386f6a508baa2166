#include "midi/drivers/drop_outs.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

using std::chrono::microseconds;

TEST(drop_outs, are_what_is_asked_for_after_all_has_been_played) {
    const struct {
        const char* what;
        std::vector<int> waits; // microseconds before each further ask; periods last 10 ms, one other waits
        int count;
    } cases[] = {
        {"in time", {10'000, 10'000}, 0},
        {"late, but the other one still plays", {19'900, 10'000, 10'000}, 0},
        {"too late", {20'500}, 1},
        {"late again before the delay is made good", {19'900, 11'000}, 1},
        {"made good by an early one, no more", {5'000, 1'000, 1'000, 20'500}, 1},
        {"each one counts", {20'500, 20'500, 20'500}, 3},
        {"the computer slept", {700'000, 10'000}, 0},
        {"a slow clock", std::vector<int>(10'000, 10'015), 0},
    };
    for (const auto& c : cases) {
        midi::drop_outs counter(std::chrono::milliseconds(10), 1);
        midi::drop_outs::clock::time_point now{};
        counter.ask(now += microseconds(1));
        for (const int wait : c.waits)
            counter.ask(now += microseconds(wait));
        EXPECT_EQ(counter.take(), c.count) << c.what;
        EXPECT_EQ(counter.take(), 0) << c.what;
    }
}

} // namespace
