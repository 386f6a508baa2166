// The mouse on the real keys.

#include "app/home_view.h"
#include "player_driver.h"
#include "render/math/projection.h"
#include "support/gl_context.h"

#include <cstdlib>

using namespace test_support;

namespace {

class mouse_on_keys : public gl_test {
protected:
    void SetUp() override {
        gl_test::SetUp();
        if (!HasFatalFailure()) driver_.emplace(player_settings{}, QUENVAREL_BIN "/quenvarel");
    }
    void TearDown() override {
        driver_.reset();
        gl_test::TearDown();
    }

    void resize(int width, int height) {
        lens_ = {render::perspective_matrix(render::to_projection(quenvarel::lens(double(width) / height))),
                 width, height};
        driver_->player().reshape(width, height);
        driver_->sent();
    }
    // Clicks at each pixel of a line, counted from the upper left, then draws the pointer along it. Each
    // click plays the key that is shown while none is down.
    void play_along(int first_x, int first_y, int dx, int dy) {
        quenvarel::Quenvarel& player = driver_->player();
        std::string on_the_way;
        std::optional<int> last;
        const auto inside = [&](int x, int y) { return x < lens_.width && y < lens_.height; };
        for (int x = first_x, y = first_y; inside(x, y); x += dx, y += dy) {
            std::optional<int> key;
            player.scene().pick(x, lens_.height - 1 - y, lens_, [&](int found) { key = found; });
            player.mouse(0, 0, x, y);
            player.mouse(0, 1, x, y);
            const std::uint8_t bytes[] = {0x91, std::uint8_t(key.value_or(0))};
            const std::string played = hex(bytes, 2), note = key ? played + " 7f; " + played + " 00" : "";
            ASSERT_EQ(driver_->sent(), note) << x << ' ' << y;
            if (key && key != last) on_the_way += (++notes_, on_the_way.empty() ? "" : "; ") + note;
            last = key;
        }
        player.mouse(0, 0, first_x, first_y);
        for (int x = first_x, y = first_y; inside(x, y); x += dx, y += dy)
            player.motion(x, y);
        player.mouse(0, 1, lens_.width, lens_.height);
        EXPECT_EQ(driver_->sent(), on_the_way) << first_x << ' ' << first_y;
    }

    std::size_t notes_ = 0;
    std::optional<player_driver> driver_;
    quenvarel::viewport lens_{};
};

} // namespace

// Each key once, and the key that is shown, though it sinks under the pointer. QUENVAREL_SOAK in the
// environment: at every pixel.
TEST_F(mouse_on_keys, play_what_is_shown) {
    for (const auto& [width, height] : {std::pair{400, 100}, {800, 200}, {1280, 720}}) {
        resize(width, height);
        notes_ = 0;
        const int parts = std::getenv("QUENVAREL_SOAK") ? width : 12;
        for (int x = 0; x < width; x += width / parts)
            play_along(x, 0, 0, 1);
        for (int y = 0; y < height; y += std::max(height / parts, 1))
            play_along(0, y, 1, 0);
        EXPECT_GT(notes_, 150u) << width;
    }
}
