// Long evenings: the instrument with its picture under random events, redraws and model loads. What is in use
// must not grow once everything has been used, and what sounds must end.
//
// QUENVAREL_SOAK=50 in the environment makes it so many times longer: a million events.

#include "player_driver.h"
#include "support/gl_context.h"

#include <GL/glew.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <malloc.h>
#include <random>
#include <unistd.h>

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool measures_memory = false; // the sanitizer keeps what is freed
#else
constexpr bool measures_memory = true;
#endif

int times() {
    const char* text = std::getenv("QUENVAREL_SOAK");
    return text ? std::max(std::atoi(text), 1) : 1;
}

// Bytes of the heap in use, bytes of memory, GL objects.
using usage = std::array<std::size_t, 3>;

usage used_now() {
    std::size_t pages = 0, objects = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages;
    for (GLuint name = 1; name < 4000; ++name)
        objects += glIsBuffer(name) + glIsTexture(name) + glIsVertexArray(name) + glIsProgram(name) +
                   glIsShader(name) + glIsFramebuffer(name) + glIsRenderbuffer(name) + glIsQuery(name);
    return {mallinfo2().uordblks + mallinfo2().hblkhd, pages * std::size_t(sysconf(_SC_PAGESIZE)), objects};
}

// Runs the work in ten stretches and compares the most that is in use after each of the first three, when all
// has been used once, with the least after each of the last three. slack: by how many bytes the heap may
// differ, as what the GL needs differs with the view. A leak grows in every stretch; some versions of Mesa
// take one piece more at some time, so that the largest step does not count.
template <class Work>
void expect_flat(const char* name, int count, std::size_t slack, Work work) {
    usage warm{}, end{SIZE_MAX, SIZE_MAX, SIZE_MAX};
    std::size_t step = 0, before = SIZE_MAX;
    for (int stretch = 0; stretch < 10; ++stretch) {
        for (int i = 0; i < std::max(count / 10, 1); ++i)
            work();
        const usage now = used_now();
        std::printf("%s %d: heap %zu KiB, resident %zu KiB, %zu GL objects\n", name,
                    (stretch + 1) * std::max(count / 10, 1), now[0] >> 10, now[1] >> 10, now[2]);
        if (stretch >= 3) step = std::max(step, now[0] - std::min(now[0], before));
        before = now[0];
        for (std::size_t i = 0; i < now.size(); ++i) {
            if (stretch < 3) warm[i] = std::max(warm[i], now[i]);
            if (stretch >= 7) end[i] = std::min(end[i], now[i]);
        }
    }
    EXPECT_LE(end[2], warm[2]);
    if (!measures_memory) return;
    EXPECT_LE(end[0], warm[0] + slack + step);
    EXPECT_LE(end[1], warm[1] + slack + (4 << 20));
}

class soak : public test_support::gl_test {
protected:
    void SetUp() override {
        gl_test::SetUp();
        if (HasFatalFailure()) return;
        driver_.emplace(test_support::player_settings{}, QUENVAREL_BIN "/quenvarel");
        std::cerr.rdbuf(nullptr); // the driver would keep all of it, and brings back what was there
        driver_->service().records = false;
        player_ = &driver_->player();
        player_->reshape(800, 200);
        player_->display();
    }
    void TearDown() override {
        driver_.reset();
        gl_test::TearDown();
    }

    int below(int end) { return std::uniform_int_distribution(0, end - 1)(random_); }

    // Keys mostly, as in playing; what has gone down mostly comes up.
    void any_event() {
        constexpr int specials[] = {1, 2, 3, 4, 5, 104, 105, 106, 107, 108, 112, 113, 116, 117};
        const int x = below(50) ? below(900) - 50 : INT_MAX, y = below(50) ? below(240) - 20 : INT_MIN;
        const int special = specials[below(std::size(specials))];
        const int character = below(8) ? 'a' + below(26) : below(256);
        const auto key = static_cast<unsigned char>(character == 27 ? ' ' : character); // Escape ends it all
        const int what = below(16);
        if (what < 5)
            player_->keyboard(key, x, y);
        else if (what < 11)
            player_->keyboardup(key, x, y);
        else if (what == 11)
            player_->special(below(20) ? special : x, x, y);
        else if (what == 12)
            player_->specialup(special, x, y);
        else if (what == 13)
            player_->mouse(below(20) ? below(3) : y, below(2), x, y);
        else if (below(8))
            player_->motion(x, y);
        else if (below(4))
            player_->mousewheel(below(2), below(20) ? below(2) * 2 - 1 : y, x, y);
        else if (below(10) == 0)
            player_->focuslost();
        else if (below(20) == 0)
            player_->reshape(below(8) ? 600 + below(3) * 100 : 0, 200);
        else
            player_->display();
    }

    const decltype(test_support::recording_service::sounding) silence_{};
    std::optional<test_support::player_driver> driver_;
    quenvarel::Quenvarel* player_ = nullptr;
    std::mt19937 random_{20240229};
};

TEST_F(soak, random_events) {
    expect_flat("events", 20000 * times(), 8 << 20, [this] {
        any_event();
        if (below(200)) return;
        player_->keyboardup(' ', 0, 0);
        EXPECT_EQ(driver_->service().sounding, silence_) << "after Space";
    });
    EXPECT_GT(driver_->service().notes_on, 1000u);
    player_->keyboard('z', 0, 0);
    driver_->end();
    EXPECT_EQ(driver_->service().sounding, silence_) << "at the end";
}

TEST_F(soak, redraws) {
    int key = 0;
    expect_flat("redraws", 500 * times(), 64 << 10, [&] {
        const auto letter = static_cast<unsigned char>("zxcvbnm"[key++ % 7]);
        player_->keyboard(letter, 0, 0);
        player_->display();
        player_->keyboardup(letter, 0, 0);
        player_->display();
    });
}

} // namespace
