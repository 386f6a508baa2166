#pragma once
// The keyboard as a window shows it: the scene, where it is seen from, and a picture of it that is kept and
// brought up to date where something has changed.

#include "app/camera.h"
#include "app/damage.h"
#include "app/keyboard_scene.h"
#include "app/stage.h"
#include "app/text/captions.h"
#include "render/gl/framebuffer.h"
#include "render/math/types.h"
#include "render/surface/glpolygon.h"

#include <array>
#include <bitset>
#include <chrono>
#include <functional>
#include <optional>
#include <string>

namespace quenvarel {

// Keys may be pressed and released at any time. Between open() and close() there are pictures; all of the
// calls that say so need the context that was current in open().
class keyboard_view {
public:
    // Makes the renderer, which looks for its shader files in front of `base_path`, and loads the keys from a
    // directory, until it is told to stop. With the context, once. A shader that does not compile ends the
    // process.
    void open(
        const std::string& base_path, const std::string& key_directory,
        const std::function<bool()>& stop = [] { return false; });
    // Gives everything back to the GL. With the context; afterwards draw() and show() do nothing.
    void close();

    // The window's size in pixels, both at least 1. With the context.
    void resize(int width, int height);
    void look(const camera_t& camera);

    using clock = std::chrono::steady_clock;

    // A key that is down glows, and for a moment after it came up.
    void press(int key);
    void release(int key, clock::time_point when = clock::now());
    void release_all(clock::time_point when = clock::now());
    // When the next picture of a fading glow is due; nothing when none fades.
    std::optional<clock::time_point> next_fade() const;
    // Whether one more draw(), soon, with nothing to do, would make the next key's picture come sooner.
    bool can_prepare() const { return renderer_ && may_keep_ && !fixed_is_current_ && frame_.allocated(); }

    // What is written on the keys, and on the line below them.
    void inscribe(const key_inscriptions& keys);
    void say(const state_line::words& line);

    // Called now and then while a picture is made. What it does to keys and view is in the next picture at
    // the latest. False when no picture is wanted any more.
    using meanwhile_t = std::function<bool()>;

    // Brings the picture up to date, drawing only what has changed. With the context.
    void draw(
        clock::time_point when = clock::now(), const meanwhile_t& meanwhile = [] { return true; });
    // Copies the picture to the bound window's back buffer, or to the framebuffer object with that name. With
    // the context.
    void show(
        render::gl_uint framebuffer = 0, const meanwhile_t& meanwhile = [] { return true; });
    // Copies only what has changed since show() or the last of these calls, and says where that is. The rest
    // of the buffer stays as it is.
    damage show_changes(
        render::gl_uint framebuffer = 0, const meanwhile_t& meanwhile = [] { return true; });
    // Whether there is a picture to copy from; otherwise draw() draws all of it into the bound buffer.
    bool keeps_picture() const { return frame_.allocated(); }

    // The nearest key at a pixel, counted from the lower left. The key `at_rest` counts as not pressed.
    std::optional<int> key_at(int x, int y, std::optional<int> at_rest = {}) const;
    // What the up-to-date picture shows at a pixel, counted from the lower left: its depth, 0 (near) to 1
    // (nothing). With the context.
    float depth_at(int x, int y);
    // For turning pixels into points.
    pixel_space pixels() const;

    const keyboard_scene& scene() const { return scene_; }
    int samples() const { return frame_.samples(); } // for each pixel

private:
    template <class Change>
    void change(int key, Change how);
    void fade(clock::time_point when);
    bool keep_fixed(const painter& with, const meanwhile_t& meanwhile);
    void draw_whole(const painter& with, const meanwhile_t& meanwhile);
    void draw_damage(const painter& with, const meanwhile_t& meanwhile);
    void locate(int key);
    void add_damage(int key);
    void view_changed();

    keyboard_scene scene_;
    std::optional<render::glpolygon_t> renderer_;
    glow_t glow_;
    std::bitset<keyboard_scene::key_count> fading_; // keys that are up and still glow
    std::array<clock::time_point, keyboard_scene::key_count> released_{};
    stage stage_;
    captions captions_;
    render::framebuffer_t frame_;
    render::framebuffer_t fixed_;       // what the keys do not change
    render::framebuffer_t bare_mirror_; // what the mirror shows without them; of its size
    bool fixed_is_current_ = false, may_keep_ = true, view_is_new_ = true;
    damage damage_;                                              // of the frame
    damage changed_;                                             // and not shown yet
    key_rectangles covered_{}, mirrored_{}, mirrored_at_rest_{}; // by the keys and by their images
    std::optional<camera_t> camera_;
    viewport port_{render::mtx3w::identity(), 1, 1};
    render::mtx3w inverse_projection_ = render::mtx3w::identity();
    render::mtx3w view_ = render::mtx3w::identity(), inverse_view_ = render::mtx3w::identity();
};

} // namespace quenvarel
