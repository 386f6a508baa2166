#include "tools/pmt3d/progress_bar.h"

#include <chrono>
#include <gtest/gtest.h>
#include <iostream>
#include <poll.h>
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
        dup2(ends[1], STDERR_FILENO);
        close(ends[1]);
    }
    ~standard_error() {
        dup2(before_, STDERR_FILENO);
        close(before_);
        close(reading_);
    }
    // A terminal hands over what was written a little later, and in pieces: waits until so many bytes are
    // there.
    std::string take(std::size_t expected) const {
        std::string text;
        char piece[4096];
        for (pollfd ready{reading_, POLLIN, 0}; poll(&ready, 1, text.size() < expected ? 10'000 : 0) > 0;) {
            const ssize_t size = read(reading_, piece, sizeof piece);
            if (size <= 0) break;
            text.append(piece, std::size_t(size));
        }
        return text;
    }
    void expect(const std::string& text) const { EXPECT_EQ(take(text.size()), text); }

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
        const std::string early = terminal.take(0);
        EXPECT_TRUE(early.empty() || clock::now() - begin >= std::chrono::milliseconds(500)) << early;
        EXPECT_EQ(early + terminal.take(bar.size() - early.size()), bar);
        std::cerr << 12 << ": illegal";
        std::this_thread::sleep_for(std::chrono::milliseconds(150)); // the bar is not drawn into a line
        std::cerr << " command.\n";
        terminal.expect(gap + "12: illegal command.\r\n" + bar);
    }
    terminal.expect(gap);
    std::cerr << "afterwards" << std::flush;
    terminal.expect("afterwards");
}

TEST(progress_bar, counts_seconds_where_the_work_does_not_tell) {
    const standard_error terminal(true);
    const tool::progress_bar progress("drawing", "x.stl");
    const std::string text = terminal.take(19);
    EXPECT_TRUE(text.starts_with("\rdrawing x.stl, ") && text.ends_with(" s")) << text;
}

TEST(progress_bar, is_not_there_when_nobody_watches) {
    const standard_error pipe(false);
    tool::progress_bar progress("writing", "x.stl");
    EXPECT_FALSE(progress.callback());
    std::cerr << "a line\n";
    pipe.expect("a line\n");
}

} // namespace
