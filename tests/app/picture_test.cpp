#include "app/home_view.h"
#include "app/keyboard_view.h"
#include "models/layout/key_layout.h"
#include "render/math/matrix.h"
#include "render/math/operations.h"
#include "render/math/projection.h"
#include "support/gl_context.h"
#include "support/gl_faults.h"
#include "support/picture.h"
#include "support/temporary_directory.h"

#include <GL/glew.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <random>

using namespace quenvarel;
using render::pos3;
using namespace test_support;

namespace {

constexpr int width = 800, height = 200;

int pixel(float coordinate) {
    return static_cast<int>(std::floor(coordinate));
}

// Where a point of the keyboard at rest is drawn at the start, in pixels from the lower left.
render::pos2 seen(const pos3& p) {
    const render::mtx3w to_clip =
        render::perspective_matrix(render::to_projection(lens(4))) * view_matrix(home_camera(4));
    const pos3 at = render::homogeneous_divide(to_clip * render::vec3w{p.x, p.y, p.z, 1});
    return {(at.x + 1) / 2 * width, (at.y + 1) / 2 * height};
}

// The pixel in the middle of what is seen of a key's top: near the player for white keys, and between the
// black ones.
struct head {
    int x, y;
    float height; // of the top in the world

    explicit head(int key) {
        const models::key_place place = models::place_of(key);
        height = place.black ? 0.5f : 0;
        const render::pos2 at =
            seen({(place.left + place.right) / 2, height, models::key_back + (place.black ? 1.8f : 5.3f)});
        x = pixel(at.x);
        y = pixel(at.y);
    }
};

// Between which columns all of a key is seen.
std::pair<int, int> columns_of(int key) {
    const models::key_place place = models::place_of(key);
    std::vector<int> columns;
    for (const float x : {place.left, place.right})
        for (const float y : {-0.8f, 0.5f})
            for (const float z : {models::key_back, models::key_back + models::white_length})
                columns.push_back(pixel(seen({x, y, z}).x));
    const auto [left, right] = std::ranges::minmax(columns);
    return {left, right};
}

// The keyboard that the build has made, as a window of the usual size shows it at the start.
class keyboard_picture_test : public gl_test {
protected:
    void SetUp() override {
        gl_test::SetUp();
        if (HasFatalFailure()) return;
        const capture out(std::cout);
        view_.open("", QUENVAREL_BIN "/quenvarel.pmt");
        view_.look(home_camera(double(width) / height));
        view_.resize(width, height);
        EXPECT_EQ(out.text(), "") << "a key could not be loaded";
    }
    void TearDown() override {
        view_.close();
        gl_test::TearDown();
    }

    picture shot() { return shot_of(view_); }
    picture shot_of(keyboard_view& view, int wide = width, int high = height) {
        view.draw(now_);
        const render_target target(wide, high);
        const int name = state(GL_FRAMEBUFFER_BINDING);
        view.show(static_cast<render::gl_uint>(name));
        glBindFramebuffer(GL_FRAMEBUFFER, static_cast<GLuint>(name));
        return target.read();
    }
    int blue_at(const head& top, keyboard_view& view) { return shot_of(view).at(top.x, top.y)[2]; }

    // The height in the world of what is seen there.
    float height_at(const head& top) {
        const float x = float(top.x) + 0.5f, y = float(top.y) + 0.5f;
        return point_at(x, y, view_.depth_at(top.x, top.y), view_.pixels()).y;
    }

    keyboard_view view_;
    keyboard_view::clock::time_point now_ = keyboard_view::clock::now();
};

} // namespace

TEST_F(keyboard_picture_test, looks_as_it_was_approved) {
    for (const int key : {48, 52, 55, 58, 64, 67, 70, 72})
        view_.press(key);
    EXPECT_TRUE(looks_like(shot(), "keyboard", 1.5, 90));
    EXPECT_EQ(view_.samples(), 4);
}

// As text asks for it: nearly the ratio of relative luminances.
TEST_F(keyboard_picture_test, black_keys_stand_out_from_what_is_behind_them) {
    const picture image = shot();
    for (int key = 0; key < 128; ++key) {
        const models::key_place place = models::place_of(key);
        if (!place.black) continue;
        const render::pos2 end = seen({(place.left + place.right) / 2, 0.5f, models::key_back});
        const auto luminance = [&](int above) {
            const auto p = image.at(pixel(end.x), pixel(end.y) + above);
            const auto linear = [&](std::size_t channel) { return std::pow(p[channel] / 255.0, 2.2); };
            return 0.2126 * linear(0) + 0.7152 * linear(1) + 0.0722 * linear(2) + 0.05;
        };
        const double brightest = std::max({luminance(1), luminance(2), luminance(3)});
        const double darkest =
            std::min({luminance(-6), luminance(-5), luminance(-4), luminance(-3), luminance(-2)});
        EXPECT_GE(brightest / darkest, 1.6) << key;
    }
}

TEST_F(keyboard_picture_test, a_pressed_key_goes_down_and_nothing_else_changes) {
    const picture before = shot();
    const int back = pixel(seen({0, 0.5f, models::key_back}).y); // above it is the keys' image
    for (int key = 0; key < 128; ++key) {
        const head top(key);
        EXPECT_EQ(view_.key_at(top.x, top.y), key);
        EXPECT_NEAR(height_at(top), top.height, 0.05f) << key;
        view_.press(key);
        const picture after = shot();
        EXPECT_LT(height_at(top), top.height - 0.25f) << key;
        view_.release(key, now_);
        now_ += std::chrono::milliseconds(80);
        int strongly = 0;
        const auto [left, right] = columns_of(key);
        for (int i = 0; i < width * height; ++i) {
            int most = 0;
            for (std::size_t c = 4 * std::size_t(i), end = c + 4; c < end; ++c)
                most = std::max(most, std::abs(before.rgba[c] - after.rgba[c]));
            strongly += most > 48;
            const int x = i % width, y = height - 1 - i / width;
            ASSERT_TRUE(most == 0 || y > back || (x >= left - 2 && x <= right + 2)) << key << ": " << x;
        }
        EXPECT_GE(strongly, models::place_of(key).black ? 150 : 400) << key;
    }
}

TEST_F(keyboard_picture_test, a_glow_fades_within_80_ms) {
    const picture before = shot();
    const auto blue = [&] { return blue_at(head(60), view_); };
    const int at_rest = blue();
    view_.press(60);
    const int down = blue();
    EXPECT_LT(down, at_rest - 80);
    now_ += std::chrono::seconds(100);
    EXPECT_EQ(blue(), down) << "as long as the key is down";
    EXPECT_FALSE(view_.next_fade());
    view_.release(60, now_);
    const auto released = now_;
    int last = down;
    for (blue(); view_.next_fade(); now_ = *view_.next_fade(), blue()) {
        EXPECT_TRUE(blue() > last && *view_.next_fade() > now_);
        last = blue();
    }
    EXPECT_EQ(shot().rgba, before.rgba);
    EXPECT_EQ(now_ - released, std::chrono::milliseconds(60));
    // Pressed anew in the meantime it glows on.
    view_.press(60);
    view_.release(60, now_);
    view_.press(60);
    now_ += std::chrono::milliseconds(80);
    EXPECT_EQ(blue(), down);
}

TEST_F(keyboard_picture_test, what_is_drawn_after_a_key_equals_a_whole_new_picture) {
    keyboard_view other;
    other.open("", QUENVAREL_BIN "/quenvarel.pmt");
    std::mt19937 random(3);
    const auto turn_over = [&](int key) {
        for (keyboard_view* view : {&view_, &other})
            view->scene().pressed(key) ? view->release(key, now_) : view->press(key);
    };
    // At home; with keys partly outside and behind the eye; and with the end of the mirror in sight.
    state_line line;
    instrument_state state;
    const auto say = [&](int step) {
        state.program = std::uint8_t(step * 31 & 127);
        line.say(state, now_);
        for (keyboard_view* view : {&view_, &other}) {
            view->say(line.at(now_));
            if (step % 5 == 0)
                view->inscribe(inscribe(label_choice(step / 5 % 3), step % 11 * 12, typed_characters()));
        }
    };
    say(0);
    for (camera_t camera : {home_camera(double(width) / height),
                            {{-30, 2.0f, 6}, {-30, 0, -20}},
                            {{-42, 25, 40}, {-34, 2, 0}}}) {
        view_.look(camera);
        shot();
        for (int step = 0; step < 20; ++step) {
            // One key, or several at once.
            for (unsigned count = step % 4 == 0 ? 1 + random() % 12 : 1; count > 0; --count)
                turn_over(int(random() % 128));
            // And one while they are drawn; or somebody comes home just then.
            unsigned calls = random() % 5;
            view_.draw(now_, [&] {
                if (calls-- == 0) {
                    turn_over(int(random() % 128));
                    camera.eye.x += step < 3 ? 1 : 0;
                    view_.look(camera);
                }
                return true;
            });
            if (step % 13 == 12)
                for (keyboard_view* view : {&view_, &other})
                    view->release_all(now_);
            now_ += std::chrono::milliseconds(random() % 25); // some glow, some fade
            if (step % 3 == 0) say(step);
            other.resize(width, height);
            other.look(camera);
            ASSERT_EQ(shot().rgba, shot_of(other).rgba) << "step " << step;
        }
    }
    other.close();
}

TEST_F(keyboard_picture_test, writing_is_legible_from_1280_by_320_on_and_goes_down_with_its_key) {
    // With ascenders; black and white, dark and light.
    constexpr int tall[] = {52, 56, 58, 61, 68};
    constexpr int down = 52;
    for (const int wide : {800, 1280, 2560}) {
        SCOPED_TRACE(wide);
        const int high = wide / 4;
        view_.resize(wide, high);
        view_.inscribe({});
        // Rows with writing, from the bottom, by key.
        const auto written = [&](const picture& with, const picture& without) {
            std::array<std::pair<int, int>, 128> rows;
            rows.fill({high, -1});
            for (int y = 0; y < high; ++y)
                for (int x = 0; x < wide; ++x) {
                    if (std::abs(with.at(x, y)[1] - without.at(x, y)[1]) < 40) continue;
                    const auto key = view_.key_at(x, y);
                    EXPECT_TRUE(key) << x << ' ' << y;
                    auto& [first, last] = rows[std::size_t(key.value_or(0))];
                    first = std::min(first, y);
                    last = std::max(last, y);
                }
            return rows;
        };
        const picture bare = shot_of(view_, wide, high);
        view_.press(down);
        const picture bare_down = shot_of(view_, wide, high);
        view_.inscribe(inscribe(label_choice::typed, 36, typed_characters()));
        const auto pressed = written(shot_of(view_, wide, high), bare_down);
        view_.release(down, now_ - std::chrono::seconds(1));
        const auto rows = written(shot_of(view_, wide, high), bare);
        for (int key = 0; key < 128; ++key) {
            const auto& [first, last] = rows[std::size_t(key)];
            const bool typed = key >= 44 && key <= 79;
            EXPECT_TRUE(last >= first || !typed) << key;
            EXPECT_TRUE(last == -1 || typed || (key % 12 == 0 && wide >= 1280)) << key;
        }
        for (const int key : tall) {
            const int height = rows[std::size_t(key)].second - rows[std::size_t(key)].first + 1;
            EXPECT_TRUE(wide < 1280 ? height <= 5 : height >= captions::least_height) << key << ' ' << height;
        }
        EXPECT_LT(pressed[down].first, rows[down].first - wide / 400);
    }
}

TEST_F(keyboard_picture_test, the_line_lies_below_the_keys_of_every_window) {
    state_line line;
    line.say({.channel = 1, .velocity = 127}, now_);
    for (const auto& [wide, high] :
         {std::pair{500, 500}, {800, 200}, {960, 540}, {1600, 200}, {200, 100}, {150, 100}}) {
        SCOPED_TRACE(wide);
        view_.resize(wide, high);
        view_.look(home_camera(double(wide) / high));
        view_.say({});
        const picture before = shot_of(view_, wide, high);
        const auto changed = [&](const picture& with) {
            int brightest = 0;
            for (int y = 0; y < high; ++y)
                for (int x = 0; x < wide; ++x) {
                    const int brighter = with.at(x, y)[0] - before.at(x, y)[0];
                    if (brighter <= 8) continue;
                    EXPECT_FALSE(view_.key_at(x, y) || x < 3 || x >= wide - 3) << x << ' ' << y;
                    EXPECT_TRUE(brighter <= brightest || view_.depth_at(x, y) > 0)
                        << "that of what is behind";
                    brightest = std::max(brightest, brighter);
                }
            return brightest;
        };
        const auto at = [&](std::chrono::seconds time) {
            view_.say(line.at(now_ + time));
            return changed(shot_of(view_, wide, high));
        };
        line.say({.channel = 2, .velocity = 127}, now_);
        const int quiet = (line.at(now_ + std::chrono::seconds(9)), at(std::chrono::seconds(9)));
        line.say({.channel = 1, .velocity = 127}, now_);
        EXPECT_GT(quiet, 60);
        // Where there is room for it.
        EXPECT_TRUE(wide <= 200 || at(std::chrono::seconds(1)) > quiet + 30) << "news are brighter";
    }
}

TEST_F(keyboard_picture_test, without_text_the_keys_are_drawn) {
    const picture before = shot();
    {
        const watched<&__glewGenVertexArrays> failing;
        view_.inscribe(inscribe(label_choice::notes, 36, {}));
        EXPECT_EQ(shot().rgba, before.rgba);
    }
    const std::string err = take_err();
    EXPECT_EQ(std::ranges::count(err, '\n'), 1) << err;
    view_.look(home_camera(double(width) / height));
    EXPECT_EQ(shot().rgba, before.rgba) << "it is not tried again";
    const int at_rest = blue_at(head(60), view_);
    view_.press(60);
    EXPECT_LT(blue_at(head(60), view_), at_rest - 80);
    EXPECT_EQ(take_err(), "");
}

// The keys are loaded and drawn, whatever is wrong with what stands around them; each fault is one line.
TEST_F(keyboard_picture_test, a_case_that_is_wrong_leaves_the_keys_alone) {
    namespace fs = std::filesystem;
    const std::string good = read_file(QUENVAREL_BIN "/quenvarel.pmt/case.pmt");
    struct {
        const char *what, *from, *to; // in the text of case.pmt; from nothing: all of it
        int lines = 1;
        const char* removed = nullptr;
        bool becomes_directory = false;
        std::uintmax_t size = 0;
    } const cases[] = {
        {"none", "", "", 0, "case.pmt"},
        {"a directory", "", "", 1, "case.pmt", true},
        {"no model", nullptr, "keys\n"},
        {"too many triangles", "\nresolution ", "\nresolution 99"},
        {"too large", "", "", 1, nullptr, false, 1u << 30},
        {"a picture that many wear is missing", "plain.png", "absent.png"},
        {"a face is missing", "", "", 1, "studio_negy.tga"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const temporary_directory directory;
        fs::copy(QUENVAREL_BIN "/quenvarel.pmt", directory.path());
        std::string text = c.from ? good : c.to;
        if (c.from && *c.from)
            for (auto at = text.find(c.from); at != text.npos; at = text.find(c.from, at + 1))
                text.replace(at, std::strlen(c.from), c.to);
        directory.write("case.pmt", text);
        if (c.size) fs::resize_file(directory.file("case.pmt"), c.size);
        if (c.removed) fs::remove(directory.file(c.removed));
        if (c.becomes_directory) fs::create_directory(directory.file(c.removed));
        keyboard_view view;
        view.open("", directory.path().string());
        const std::string err = take_err();
        EXPECT_EQ(std::ranges::count(err, '\n'), c.lines) << err;
        view.resize(width, height);
        view.look(home_camera(4));
        const int at_rest = blue_at(head(60), view);
        EXPECT_GT(at_rest, 150);
        view.press(60);
        EXPECT_LT(blue_at(head(60), view), at_rest - 80);
        view.close();
    }
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
    EXPECT_LT(corner[0], 100);
}

TEST_F(keyboard_picture_test, a_new_size_is_filled) {
    shot();
    view_.resize(1024, 400);
    view_.draw();
    EXPECT_TRUE(view_.depth_at(512, 120) < 1 && view_.depth_at(512, 300) < 1);
    EXPECT_EQ(view_.depth_at(-5, 1000), 1);
    view_.resize(1, 1);
    view_.draw();
}
