// The mouse on the real keys.

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
        lens_ = {render::perspective_matrix(render::to_projection(quenvarel::lens(double(width) / height))),
                 width, height};
        player_->reshape(width, height);
    }
    std::vector<std::string> sent() {
        take_err();
        service_.calls.clear();
        return service_.take_messages();
    }
    // The key shown at a pixel counted from the upper left while none is down.
    std::optional<int> shown(int x, int y) {
        std::optional<int> found;
        player_->scene().pick(x, lens_.height - 1 - y, lens_, [&](int key) { found = key; });
        return found;
    }
    // Clicks at each pixel of a line, then draws the pointer along it.
    void play_along(int x, int y, int dx, int dy) {
        std::vector<std::string> on_the_way;
        std::optional<int> last;
        const int first_x = x, first_y = y;
        for (; x < lens_.width && y < lens_.height; x += dx, y += dy) {
            const auto key = shown(x, y);
            player_->mouse(0, 0, x, y);
            player_->mouse(0, 1, x, y);
            std::vector<std::string> note;
            if (key)
                for (const int velocity : {0x7f, 0}) {
                    const std::uint8_t bytes[] = {0x91, std::uint8_t(*key), std::uint8_t(velocity)};
                    note.push_back(hex(bytes, 3));
                }
            ASSERT_EQ(sent(), note) << x << ' ' << y;
            if (key != last) on_the_way.insert(on_the_way.end(), note.begin(), note.end());
            last = key;
        }
        player_->mouse(0, 0, first_x, first_y);
        for (x = first_x, y = first_y; x < lens_.width && y < lens_.height; x += dx, y += dy)
            player_->motion(x, y);
        player_->mouse(0, 1, x, y);
        EXPECT_EQ(sent(), on_the_way) << first_x << ' ' << first_y;
        notes += on_the_way.size() / 2;
    }
    std::size_t notes = 0;

    recording_service service_;
    midi::midi_out_t port_{service_};
    std::optional<quenvarel::Quenvarel> player_;
    quenvarel::viewport lens_{};
};

} // namespace

// Each key once, and the key that is shown, though it sinks under the pointer. QUENVAREL_SOAK in the
// environment: at every pixel.
TEST_F(mouse_on_keys, play_what_is_shown) {
    for (const auto& [width, height] : {std::pair{400, 100}, {800, 200}, {1280, 720}}) {
        resize(width, height);
        notes = 0;
        const int parts = std::getenv("QUENVAREL_SOAK") ? width : 12;
        for (int x = 0; x < width; x += width / parts)
            play_along(x, 0, 0, 1);
        for (int y = 0; y < height; y += std::max(height / parts, 1))
            play_along(0, y, 1, 0);
        EXPECT_GT(notes, 150u) << width;
    }
}
