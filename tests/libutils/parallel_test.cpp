#include "libutils/parallel.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

#ifdef __linux__
#include <sched.h>
#endif

namespace {

TEST(parallel, every_piece_is_done_once_and_the_caller_takes_part) {
    for (const unsigned threads : {1u, 2u, 7u}) {
        std::vector<std::atomic<int>> done(100);
        const std::thread::id caller = std::this_thread::get_id();
        libutils::for_each_piece(threads, done.size(), [&](std::uint64_t piece, unsigned thread) {
            ++done[piece];
            EXPECT_LT(thread, threads);
            EXPECT_EQ(thread == 0, std::this_thread::get_id() == caller);
        });
        for (const std::atomic<int>& times : done)
            EXPECT_EQ(times, 1);
    }
}

TEST(parallel, what_a_thread_throws_reaches_the_caller_and_ends_the_work) {
    for (const unsigned threads : {1u, 3u}) {
        std::atomic<int> begun = 0;
        const auto throwing = [&](std::uint64_t piece, unsigned) {
            ++begun;
            if (piece == 2) throw std::runtime_error("this one");
        };
        EXPECT_THROW(libutils::for_each_piece(threads, 1'000'000, throwing), std::runtime_error);
        EXPECT_LT(begun, 1'000'000);
    }
}

TEST(parallel, small_work_is_not_shared_and_large_work_uses_the_processors_there_are) {
    EXPECT_EQ(libutils::sharing_for((4 << 20) - 1).threads, 1u);
#ifdef __linux__
    cpu_set_t before, one;
    ASSERT_EQ(sched_getaffinity(0, sizeof before, &before), 0);
    EXPECT_EQ(libutils::sharing_for(4 << 20).threads, std::min(16u, unsigned(CPU_COUNT(&before))));
    CPU_ZERO(&one);
    CPU_SET(sched_getcpu(), &one);
    ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
    EXPECT_EQ(libutils::sharing_for(4 << 20).threads, 1u);
    sched_setaffinity(0, sizeof before, &before);
#endif
}

} // namespace
