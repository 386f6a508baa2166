#include "tools/pmt3d/progress_bar.h"

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <iostream>
#include <pty.h>
#include <thread>
#include <unistd.h>

namespace {

// What is written to standard error while it lives, on a terminal or into a pipe.
class standard_error {
public:
    explicit standard_error(bool terminal) : before_(dup(STDERR_FILENO)) {
        int ends[2] = {-1, -1};
        EXPECT_EQ(terminal ? openpty(&ends[0], &ends[1], nullptr, nullptr, nullptr) : pipe(ends), 0);
        reading_ = ends[0];
        fcntl(reading_, F_SETFL, O_NONBLOCK);
        dup2(ends[1], STDERR_FILENO);
        close(ends[1]);
    }
    ~standard_error() {
        dup2(before_, STDERR_FILENO);
        close(before_);
        close(reading_);
    }
    std::string take() const {
        char text[4096];
        return {text, std::size_t(std::max<ssize_t>(read(reading_, text, sizeof text), 0))};
    }

private:
    int before_, reading_;
};

TEST(progress_bar, is_there_for_long_work_on_a_terminal_and_gone_in_the_end) {
    const standard_error terminal(true);
    std::string bar = "\rreading ...m/of/a/file/name.pmt [####################                    ] 50%";
    const std::string gap = '\r' + std::string(bar.size() - 1, ' ') + '\r';
    {
        using clock = std::chrono::steady_clock;
        const clock::time_point begin = clock::now();
        tool::progress_bar progress("reading", "a/way/to/the/folder/from/of/a/file/name.pmt");
        const pmt3d::progress_t show = progress.callback();
        ASSERT_TRUE(show);
        show(1, 2);
        const std::string early = terminal.take();
        EXPECT_TRUE(early.empty() || clock::now() - begin >= std::chrono::milliseconds(500)) << early;
        std::this_thread::sleep_for(std::chrono::milliseconds(550));
        show(1, 2);
        EXPECT_EQ(terminal.take(), bar);
        std::cerr << 12 << ": illegal command.\n";
        EXPECT_EQ(terminal.take(), gap + "12: illegal command.\r\n");
        std::this_thread::sleep_for(std::chrono::milliseconds(110));
        show(1, 2);
        EXPECT_EQ(terminal.take(), bar);
    }
    EXPECT_EQ(terminal.take(), gap);
    std::cerr << "afterwards" << std::flush;
    EXPECT_EQ(terminal.take(), "afterwards");
}

TEST(progress_bar, is_not_there_when_nobody_watches) {
    const standard_error pipe(false);
    tool::progress_bar progress("writing", "x.stl");
    EXPECT_FALSE(progress.callback());
    std::cerr << "a line\n";
    EXPECT_EQ(pipe.take(), "a line\n");
}

} // namespace
