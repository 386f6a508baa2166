#include "app/keyboard_view.h"
#include "support/gl_context.h"
#include "support/gl_faults.h"
#include "support/keyboard_points.h"
#include "support/picture.h"

#include <GL/glew.h>
#include <gtest/gtest.h>

#include <iostream>
#include <random>

using namespace quenvarel;
using render::pos3;
using namespace test_support;

namespace {

constexpr int width = test_support::window_width, height = test_support::window_height;

// The keyboard that the build has made, as a window of the usual size shows it at the start.
class keyboard_picture_test : public test_support::gl_test {
protected:
    void SetUp() override {
        gl_test::SetUp();
        if (HasFatalFailure()) return;
        test_support::capture out(std::cout);
        view_.open("", QUENVAREL_BIN "/quenvarel.pmt");
        view_.look(home_camera(double(width) / height));
        view_.resize(width, height);
        EXPECT_EQ(out.text(), "") << "a key could not be loaded";
    }
    void TearDown() override {
        view_.close();
        gl_test::TearDown();
    }

    picture shot() {
        view_.draw(now_);
        test_support::render_target target(width, height);
        int name = 0;
        glGetIntegerv(GL_FRAMEBUFFER_BINDING, &name);
        view_.show(static_cast<render::gl_uint>(name));
        glBindFramebuffer(GL_FRAMEBUFFER, static_cast<GLuint>(name));
        return target.read();
    }
    picture shot_drawn_anew() {
        view_.look(home_camera(double(width) / height));
        return shot();
    }

    // Between which columns all of a key is seen.
    static std::pair<int, int> columns_of(int key) {
        const models::key_place place = models::place_of(key);
        int left = width, right = 0;
        for (const float x : {place.left, place.right})
            for (const float y : {-0.8f, 0.5f})
                for (const float z : {models::key_back, models::key_back + models::white_length}) {
                    const int column = pixel(seen({x, y, z}).x);
                    left = std::min(left, column);
                    right = std::max(right, column);
                }
        return {left, right};
    }
    // The lowest row in which the top of a black key is drawn, over the edge to its front.
    int front_edge_of_black(int key) {
        const models::key_place place = models::place_of(key);
        const render::pos2 edge =
            seen({(place.left + place.right) / 2, 0.5f, models::key_back + models::black_length - 0.6f});
        pixel_space own = view_.pixels();
        own.inverse_view = view_.scene().normal_matrix(key); // to the space of its model
        int y = pixel(edge.y) - 10;
        while (y < height &&
               point_at(edge.x, float(y) + 0.5f, view_.depth_at(pixel(edge.x), y), own).y < 0.48f)
            ++y;
        return y;
    }
    static int pixel(float coordinate) { return static_cast<int>(std::floor(coordinate)); }

    keyboard_view view_;
    keyboard_view::clock::time_point now_ = keyboard_view::clock::now();
};

const std::array<int, 4> background_color = {14, 15, 19, 255};

} // namespace

TEST_F(keyboard_picture_test, looks_as_it_was_approved) {
    for (const int key : {48, 52, 55, 58, 64, 67, 70, 72})
        view_.press(key);
    EXPECT_TRUE(looks_like(shot(), "keyboard", 1.5, 90));
    EXPECT_EQ(view_.samples(), 4);
}

TEST_F(keyboard_picture_test, shows_all_of_the_keyboard_over_nine_tenths_of_the_width) {
    const picture image = shot();
    int left = width, right = -1;
    for (int x = 0; x < width; ++x)
        for (int y = 0; y < height; ++y) {
            if (image.at(x, y) == background_color) continue;
            left = std::min(left, x);
            right = std::max(right, x);
            EXPECT_TRUE(x > 0 && x < width - 1 && y > 0 && y < height - 1) << x << ' ' << y;
        }
    EXPECT_GE(right - left + 1, width * 9 / 10);
    for (const auto& [x, y] : {std::pair{0, 0}, {width - 1, 0}, {0, height - 1}, {width / 2, height - 1}})
        EXPECT_EQ(image.at(x, y), background_color);
}

TEST_F(keyboard_picture_test, a_pressed_key_is_seen_to_go_down) {
    const picture before = shot();
    for (int key = 0; key < 128; ++key) {
        const models::key_place place = models::place_of(key);
        const int x = test_support::front_column(key);
        const int edge = place.black ? front_edge_of_black(key) : front_edge(before, x);
        view_.press(key);
        const picture after = shot();
        EXPECT_GE(edge - (place.black ? front_edge_of_black(key) : front_edge(after, x)), 3) << key;
        view_.release(key, now_);
        now_ += std::chrono::milliseconds(80);
        // All else stays as it is.
        int strongly = 0, left = width, right = -1;
        for (std::size_t i = 0; i < before.rgba.size(); i += 4) {
            if (std::equal(&before.rgba[i], &before.rgba[i] + 4, &after.rgba[i])) continue;
            const int column = static_cast<int>(i / 4 % width);
            left = std::min(left, column);
            right = std::max(right, column);
            for (std::size_t c = 0; c < 3; ++c)
                if (std::abs(before.rgba[i + c] - after.rgba[i + c]) > 48) {
                    ++strongly;
                    break;
                }
        }
        EXPECT_GE(strongly, place.black ? 130 : 300) << key;
        const auto [leftmost, rightmost] = columns_of(key);
        EXPECT_TRUE(left >= leftmost - 2 && right <= rightmost + 2) << key;
    }
}

TEST_F(keyboard_picture_test, a_glow_fades_within_80_ms) {
    const picture before = shot();
    const render::pos2 head = head_of(60);
    const auto blue = [&] { return shot().at(pixel(head.x), pixel(head.y))[2]; };
    const int at_rest = blue();
    view_.press(60);
    const int down = blue();
    EXPECT_LT(down, at_rest - 80);
    now_ += std::chrono::seconds(100);
    EXPECT_EQ(blue(), down) << "as long as the key is down";
    EXPECT_FALSE(view_.fading());
    view_.release(60, now_);
    int last = down - 5;
    for (int i = 0; i < 4; ++i, now_ += std::chrono::milliseconds(16)) {
        const int next = blue();
        EXPECT_GT(next, last) << i;
        EXPECT_TRUE(view_.fading());
        last = next;
    }
    now_ += std::chrono::milliseconds(16);
    EXPECT_EQ(shot().rgba, before.rgba);
    EXPECT_FALSE(view_.fading());
    // Pressed anew in the meantime it glows on.
    view_.press(60);
    view_.release(60, now_);
    view_.press(60);
    now_ += std::chrono::milliseconds(80);
    EXPECT_EQ(blue(), down);
}

TEST_F(keyboard_picture_test, what_is_drawn_after_a_key_equals_a_whole_new_picture) {
    std::mt19937 random(3);
    shot();
    for (int step = 0; step < 40; ++step) {
        // One key, or several at once.
        for (unsigned count = step % 4 == 0 ? 1 + random() % 12 : 1; count > 0; --count) {
            const int key = static_cast<int>(random() % 128);
            if (view_.scene().pressed(key))
                view_.release(key, now_);
            else
                view_.press(key);
        }
        if (step % 13 == 12) view_.release_all(now_);
        now_ += std::chrono::milliseconds(random() % 25); // some glow, some fade
        const picture part = shot(), whole = shot_drawn_anew();
        ASSERT_EQ(part.rgba, whole.rgba) << "step " << step;
    }
    // Also where a key is partly outside, or behind the eye.
    const camera_t near = {{-30, 2.0f, 6}, {-30, 0, -20}};
    view_.look(near);
    shot();
    for (int key = 0; key < 24; ++key) {
        view_.press(key);
        const picture part = shot();
        view_.look(near);
        ASSERT_EQ(part.rgba, shot().rgba) << key;
    }
}

TEST_F(keyboard_picture_test, every_key_is_found_where_it_is_seen) {
    for (int key = 0; key < 128; ++key) {
        const render::pos2 at = head_of(key);
        EXPECT_EQ(view_.key_at(pixel(at.x), pixel(at.y)), key);
    }
    EXPECT_EQ(view_.key_at(0, 0), std::nullopt);
    EXPECT_EQ(view_.key_at(width / 2, height - 1), std::nullopt);
    // There is a key exactly where something is drawn, but for the pixels along the silhouette.
    const picture image = shot();
    for (int y = 1; y + 1 < height; y += 3)
        for (int x = 1; x + 1 < width; x += 3) {
            int drawn = 0;
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx)
                    drawn += image.at(x + dx, y + dy) != background_color;
            if (drawn == 0 || drawn == 9) {
                EXPECT_EQ(view_.key_at(x, y).has_value(), drawn == 9) << x << ' ' << y;
            }
        }
}

TEST_F(keyboard_picture_test, depth_under_the_pointer_leads_back_to_the_key) {
    shot();
    for (const int key : {0, 30, 60, 61, 127}) {
        const render::pos2 at = head_of(key);
        const float x = static_cast<float>(pixel(at.x)), y = static_cast<float>(pixel(at.y));
        const float depth = view_.depth_at(pixel(at.x), pixel(at.y));
        const pos3 point = point_at(x + 0.5f, y + 0.5f, depth, view_.pixels());
        EXPECT_NEAR(point.y, models::place_of(key).black ? 0.5f : 0.0f, 0.05f) << key;
    }
    EXPECT_EQ(view_.depth_at(1, 1), 1);
    EXPECT_EQ(view_.depth_at(-5, 1000), 1);
}

// The window's own back buffer holds nothing of the last picture.
TEST_F(keyboard_picture_test, without_a_framebuffer_all_is_drawn) {
    {
        const watched<&__glewBindRenderbuffer> failing;
        view_.resize(width, height);
        EXPECT_NE(take_err(), "");
    }
    view_.draw();
    view_.press(60);
    glClearColor(1, 0, 1, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    view_.draw();
    std::array<std::uint8_t, 4> corner{};
    glReadPixels(0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, corner.data());
    EXPECT_EQ(corner[0], background_color[0]);
}

TEST_F(keyboard_picture_test, a_new_size_is_filled) {
    shot();
    view_.resize(1024, 400);
    view_.draw();
    EXPECT_LT(view_.depth_at(512, 120), 1);
    EXPECT_EQ(view_.depth_at(512, 399), 1);
    view_.resize(1, 1);
    view_.draw();
}
