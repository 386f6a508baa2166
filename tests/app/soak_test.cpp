// Long evenings: the instrument with its picture under random events, redraws and model loads. What is in use
// must not grow once everything has been used, and what sounds must end.
//
// QUENVAREL_SOAK=50 in the environment makes it so many times longer: a million events.

#include "app/quenvarel.h"
#include "midi/midi_out.h"
#include "support/gl_context.h"
#include "support/recording_service.h"

#include <GL/glew.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <limits>
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

struct usage {
    std::size_t heap;     // bytes in use
    std::size_t resident; // bytes of memory
    int gl_objects;

    static usage now() {
        usage u{mallinfo2().uordblks + mallinfo2().hblkhd, 0, 0};
        std::size_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages >> u.resident;
        u.resident *= std::size_t(sysconf(_SC_PAGESIZE));
        for (GLuint name = 1; name < 4000; ++name)
            u.gl_objects += glIsBuffer(name) + glIsTexture(name) + glIsVertexArray(name) + glIsProgram(name) +
                            glIsShader(name) + glIsFramebuffer(name) + glIsRenderbuffer(name) +
                            glIsQuery(name);
        return u;
    }
};

// Runs the work in ten stretches and compares the most that is in use after each of the first three, when all
// has been used once, with the least after each of the last three. slack: by how many bytes the heap may
// differ, as what the GL needs differs with the view.
template <class Work>
void expect_flat(const char* name, int count, std::size_t slack, Work work) {
    usage warm{}, end{SIZE_MAX, SIZE_MAX, INT_MAX};
    for (int stretch = 0; stretch < 10; ++stretch) {
        for (int i = 0; i < std::max(count / 10, 1); ++i)
            work();
        const usage now = usage::now();
        std::printf("%s %d: heap %zu KiB, resident %zu KiB, %d GL objects\n", name,
                    (stretch + 1) * std::max(count / 10, 1), now.heap >> 10, now.resident >> 10,
                    now.gl_objects);
        if (stretch < 3)
            warm = {std::max(warm.heap, now.heap), std::max(warm.resident, now.resident),
                    std::max(warm.gl_objects, now.gl_objects)};
        if (stretch >= 7)
            end = {std::min(end.heap, now.heap), std::min(end.resident, now.resident),
                   std::min(end.gl_objects, now.gl_objects)};
    }
    EXPECT_LE(end.gl_objects, warm.gl_objects);
    if (measures_memory) {
        EXPECT_LE(end.heap, warm.heap + slack);
        EXPECT_LE(end.resident, warm.resident + slack + (4 << 20));
    }
}

class soak : public test_support::gl_test {
protected:
    void SetUp() override {
        gl_test::SetUp();
        if (HasFatalFailure()) return;
        before_err_ = std::cerr.rdbuf(nullptr);
        before_out_ = std::cout.rdbuf(nullptr);
        service_.records = false;
        port_.open(0u);
        quenvarel::midi_port = &port_;
        player_.emplace(QUENVAREL_BIN "/quenvarel", 1, 0, 36, 127, false);
        player_->init();
        player_->reshape(800, 200);
        player_->display();
    }
    void TearDown() override {
        if (player_) player_->closing();
        player_.reset();
        quenvarel::midi_port = nullptr;
        std::cerr.rdbuf(before_err_);
        std::cout.rdbuf(before_out_);
        gl_test::TearDown();
    }

    int below(int end) { return std::uniform_int_distribution(0, end - 1)(random_); }

    // Keys mostly, as in playing; what has gone down mostly comes up.
    void any_event() {
        constexpr int specials[] = {1, 2, 3, 4, 5, 104, 105, 106, 107, 108, 112, 113, 116, 117};
        constexpr int highest = std::numeric_limits<int>::max();
        const int x = below(50) ? below(900) - 50 : highest, y = below(50) ? below(240) - 20 : -highest - 1;
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

    std::streambuf *before_err_ = nullptr, *before_out_ = nullptr;
    test_support::recording_service service_;
    const decltype(service_.sounding) silence_{};
    midi::midi_out_t port_{service_};
    std::optional<quenvarel::Quenvarel> player_;
    std::mt19937 random_{20240229};
};

TEST_F(soak, random_events) {
    expect_flat("events", 20000 * times(), 8 << 20, [this] {
        any_event();
        if (below(200)) return;
        player_->keyboardup(' ', 0, 0);
        EXPECT_EQ(service_.sounding, silence_) << "after Space";
    });
    EXPECT_GT(service_.notes_on, 1000u);
    player_->keyboard('z', 0, 0);
    player_->closing();
    player_.reset();
    EXPECT_EQ(service_.sounding, silence_) << "at the end";
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
