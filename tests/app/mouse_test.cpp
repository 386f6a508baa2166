// The mouse on the real keys: what is under the pointer is what sounds, once.

#include "app/home_view.h"
#include "app/quenvarel.h"
#include "midi/midi_out.h"
#include "render/math/projection.h"
#include "support/gl_context.h"
#include "support/recording_service.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

using namespace test_support;

namespace {

class mouse_on_keys : public gl_test {
protected:
    void SetUp() override {
        gl_test::SetUp();
        if (HasFatalFailure()) return;
        const capture out(std::cout);
        port_.open(0u);
        quenvarel::midi_port = &port_;
        player_.emplace(QUENVAREL_BIN "/quenvarel", 1, 0, 36, 127, false);
        player_->init();
        resize(800, 200);
        sent();
    }
    void TearDown() override {
        player_->closing();
        player_.reset();
        quenvarel::midi_port = nullptr;
        take_err();
        gl_test::TearDown();
    }

    void resize(int width, int height) {
        width_ = width;
        height_ = height;
        player_->reshape(width, height);
    }
    void press(int x, int y) { player_->mouse(0, 0, x, y); }
    void release(int x, int y) { player_->mouse(0, 1, x, y); }
    std::vector<std::string> sent() {
        take_err();
        service_.calls.clear();
        return service_.take_messages();
    }
    static std::vector<std::string> one_note(int key) {
        const std::uint8_t on[] = {0x91, std::uint8_t(key), 0x7f}, off[] = {0x91, std::uint8_t(key), 0};
        return {hex(on, 3), hex(off, 3)};
    }
    // The key shown at a pixel counted from the upper left while none is down.
    std::optional<int> shown(int x, int y) {
        std::optional<int> found;
        const render::mtx3w lens =
            render::perspective_matrix(render::to_projection(quenvarel::lens(double(width_) / height_)));
        player_->scene().pick(x, height_ - 1 - y, {lens, width_, height_}, [&](int key) { found = key; });
        return found;
    }

    recording_service service_;
    midi::midi_out_t port_{service_};
    std::optional<quenvarel::Quenvarel> player_;
    int width_ = 0, height_ = 0;
};

} // namespace

// One pixel at a time; as many notes as keys lie on the way while none is down.
TEST_F(mouse_on_keys, a_sweep_plays_each_key_once) {
    for (const int y : {163, 155, 130, 118}) {
        std::size_t notes = 0;
        std::optional<int> last;
        for (int x = 20; x < 780; ++x)
            if (const auto key = shown(x, y); key && key != last) {
                ++notes;
                last = key;
            }
        EXPECT_GE(notes, 73u) << y;
        press(20, y);
        for (int x = 20; x < 780; ++x)
            player_->motion(x, y);
        release(779, y);
        EXPECT_EQ(sent().size(), 2 * notes) << y;
    }
}

// Also with a hand that shakes. QUENVAREL_SOAK in the environment: at every pixel.
TEST_F(mouse_on_keys, a_click_is_one_note_of_the_key_that_is_shown) {
    const struct {
        int width, height, step, least;
    } sizes[] = {{400, 100, 3, 3000}, {800, 200, 13, 2500}, {1920, 1080, 97, 2000}};
    for (const auto& [width, height, step, least] : sizes) {
        resize(width, height);
        int clicks = 0;
        for (int at = 0; at < width * height; at += std::getenv("QUENVAREL_SOAK") ? 1 : step) {
            const int x = at % width, y = at / width;
            const auto key = shown(x, y);
            if (!key) continue;
            for (const auto& [dx, dy] : {std::pair{0, 0}, {1, 0}, {-1, 0}, {0, 1}, {0, -1}}) {
                if (shown(x + dx, y + dy) != key) continue;
                ++clicks;
                press(x, y);
                if (dx || dy) player_->motion(x + dx, y + dy);
                release(x, y);
                ASSERT_EQ(sent(), one_note(*key)) << width << ": " << x << ' ' << y << ' ' << dx << ' ' << dy;
            }
        }
        EXPECT_GT(clicks, least) << width;
    }
}
