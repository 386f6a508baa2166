#include "app/keyboard_view.h"

#include "app/home_view.h"
#include "render/gl/step_check.h"
#include "render/math/projection.h"

#include <GL/glew.h>

#include <algorithm>
#include <utility>

namespace quenvarel {

namespace {

constexpr render::pos3 light = {-25.0f, 25.0f, 50.0f}; // eye space: from the left, from above and from behind
constexpr float shininess = 10.0f;

std::size_t index(int key) {
    return static_cast<unsigned>(key) % keyboard_scene::key_count;
}

constexpr int wanted_samples = 4; // for each pixel

// Waits until the GL has done everything so far, which on a software renderer takes most of the time.
void await_gl(const keyboard_view::meanwhile_t& meanwhile) {
    constexpr GLuint64 glance = 100'000; // nanoseconds
    const GLsync done = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
    while (meanwhile() && glClientWaitSync(done, GL_SYNC_FLUSH_COMMANDS_BIT, glance) == GL_TIMEOUT_EXPIRED) {
    }
    glDeleteSync(done);
}

void hold(const render::pixel_rect& part) {
    glScissor(part.left, part.bottom, part.width(), part.height());
}

} // namespace

void keyboard_view::open(const std::string& base_path, const std::string& key_directory,
                         const std::function<bool()>& stop) {
    renderer_.emplace();
    renderer_->init(base_path);
    scene_.load(key_directory, stop);
    stage_.load(key_directory + "/case.pmt");
    scene_.surround(stage_.environment());
    damage_.add(port_.whole());
}

void keyboard_view::close() {
    frame_.destroy();
    fixed_.destroy();
    bare_mirror_.destroy();
    stage_.clear();
    captions_.destroy();
    glow_.destroy();
    scene_.clear();
    renderer_.reset();
}

void keyboard_view::resize(int width, int height) {
    const render::projection extents = render::to_projection(lens(render::aspect(width, height)));
    port_ = {render::perspective_matrix(extents), width, height};
    inverse_projection_ = render::inverse_perspective_matrix(extents);
    frame_.allocate(width, height, wanted_samples);
    fixed_.destroy();
    bare_mirror_.destroy();
    may_keep_ = true;
    damage_.clear();
    changed_.clear();
    captions_.lay_out(port_);
    view_changed();
}

void keyboard_view::look(const camera_t& camera) {
    if (camera_ == camera) return damage_.add(port_.whole());
    camera_ = camera;
    view_ = view_matrix(camera);
    inverse_view_ = inverse_view_matrix(camera);
    scene_.update_all(view_, inverse_view_);
    view_changed();
}

void keyboard_view::view_changed() {
    stage_.look({view_, inverse_view_}, port_);
    for (int key = 0; key < keyboard_scene::key_count; ++key) {
        locate(key);
        mirrored_at_rest_[index(key)] = stage_.mirrored(scene_, key, true);
    }
    view_is_new_ = true;
    fixed_is_current_ = false;
    damage_.add(port_.whole());
}

template <class Change>
void keyboard_view::change(int key, Change how) {
    add_damage(key);
    (scene_.*how)(key, view_, inverse_view_);
    locate(key);
    add_damage(key);
}

void keyboard_view::locate(int key) {
    covered_[index(key)] = scene_.covered(key, port_);
    mirrored_[index(key)] = stage_.mirrored(scene_, key);
}

void keyboard_view::add_damage(int key) {
    damage_.add(covered_[index(key)]);
    damage_.add(mirrored_[index(key)]);
}

void keyboard_view::press(int key) {
    change(key, &keyboard_scene::press);
    scene_.set_glow(key, full_glow);
    fading_.reset(index(key));
}

void keyboard_view::release(int key, clock::time_point when) {
    if (scene_.pressed(key)) {
        fading_.set(index(key));
        released_[index(key)] = when;
    }
    change(key, &keyboard_scene::release);
}

void keyboard_view::release_all(clock::time_point when) {
    for (int key = 0; key < keyboard_scene::key_count; ++key)
        if (scene_.pressed(key)) release(key, when);
    scene_.release_all(view_, inverse_view_);
}

void keyboard_view::fade(clock::time_point when) {
    if (fading_.none()) return;
    for (int key = 0; key < keyboard_scene::key_count; ++key) {
        if (!fading_[index(key)]) continue;
        const glow_level level = faded_glow(when - released_[index(key)]);
        if (level == scene_.glow(key)) continue;
        // In the mirror a key glows or does not.
        if (level == 0) damage_.add(mirrored_[index(key)]);
        damage_.add(covered_[index(key)]);
        scene_.set_glow(key, level);
        fading_.set(index(key), level > 0);
    }
}

std::optional<keyboard_view::clock::time_point> keyboard_view::next_fade() const {
    std::optional<clock::time_point> next;
    for (int key = 0; fading_.any() && key < keyboard_scene::key_count; ++key) {
        if (!fading_[index(key)]) continue;
        const auto step = released_[index(key)] + (full_glow - scene_.glow(key)) * glow_step;
        next = next ? std::min(*next, step) : step;
    }
    return next;
}

void keyboard_view::inscribe(const key_inscriptions& keys) {
    captions_.inscribe(keys, [&](int key) { damage_.add(covered_[index(key)]); });
}

void keyboard_view::say(const state_line::words& line) {
    damage_.add(captions_.line());
    captions_.say(line);
    captions_.lay_out(port_);
    damage_.add(captions_.line());
}

// The keys' images in the mirror are there as they are at rest; beside it is kept what the mirror shows
// without them.
bool keyboard_view::keep_fixed(const painter& with, const meanwhile_t& meanwhile) {
    if (fixed_is_current_) return true;
    if (!frame_.allocated() || !may_keep_ || !meanwhile()) return false;
    const auto has_size = [](render::framebuffer_t& kept, int width, int height) {
        return (kept.width() == width && kept.height() == height) ||
               kept.allocate_samples(width, height, wanted_samples);
    };
    const render::pixel_rect mirror = stage_.mirror();
    may_keep_ = has_size(fixed_, port_.width, port_.height) &&
                (mirror.empty() || has_size(bare_mirror_, mirror.width(), mirror.height()));
    if (!may_keep_) return false; // for want of memory, which is reported once
    fixed_is_current_ = true;     // until the view changes, which it may do meanwhile
    fixed_.bind();
    hold(port_.whole());
    stage_.clear_picture();
    stage_.draw_fixed(with, port_.whole());
    await_gl(meanwhile);
    if (!mirror.empty() && meanwhile()) {
        bare_mirror_.copy_samples(fixed_, {0, 0, mirror.width(), mirror.height()}, mirror.left,
                                  mirror.bottom);
        fixed_.bind();
        hold(mirror);
        painter resting = with;
        resting.at_rest = &inverse_view_;
        stage_.draw_mirrored(resting, scene_, mirrored_, mirror);
        await_gl(meanwhile);
    }
    return fixed_is_current_ = meanwhile() && fixed_is_current_;
}

// Whole, into the framebuffer that is bound. The keys come first, since they hide much that then need not be
// lit.
void keyboard_view::draw_whole(const painter& with, const meanwhile_t& meanwhile) {
    const render::pixel_rect whole = port_.whole();
    hold(whole);
    stage_.clear_picture();
    scene_.draw(with, covered_, whole);
    stage_.draw_fixed(with, whole);
    stage_.draw_mirrored(with, scene_, mirrored_, whole);
    stage_.draw_translucent(with, whole);
    captions_.draw(with, scene_, covered_, whole);
    await_gl(meanwhile);
    frame_.resolve(whole);
    changed_.add(whole);
}

// What the keys do not change is taken from where it is kept.
void keyboard_view::draw_damage(const painter& with, const meanwhile_t& meanwhile) {
    const damage now = std::exchange(damage_, {});
    // Images in the mirror that are not those of keys at rest.
    render::pixel_rect moved;
    for (int key = 0; key < keyboard_scene::key_count; ++key)
        if (!scene_.at_rest(key))
            for (const key_rectangles* images : {&mirrored_, &mirrored_at_rest_})
                moved = render::enclosing(moved, (*images)[index(key)]);
    // One step for all parts after the other: changing the framebuffer is what takes time.
    const render::pixel_rect mirror = stage_.mirror();
    for (const render::pixel_rect& part : now.parts()) {
        frame_.copy_samples(fixed_, part);
        frame_.copy_samples(bare_mirror_, render::intersection(part, moved), -mirror.left, -mirror.bottom);
    }
    frame_.bind();
    for (const render::pixel_rect& part : now.parts()) {
        meanwhile();
        if (const auto images = render::intersection(part, moved); !images.empty()) {
            hold(images);
            stage_.draw_mirrored(with, scene_, mirrored_, images);
            meanwhile();
        }
        hold(part);
        scene_.draw(with, covered_, part);
        stage_.draw_translucent(with, part);
        captions_.draw(with, scene_, covered_, part);
    }
    await_gl(meanwhile);
    for (const render::pixel_rect& part : now.parts()) {
        frame_.resolve(part);
        changed_.add(part);
    }
}

void keyboard_view::draw(clock::time_point when, const meanwhile_t& meanwhile) {
    if (!renderer_) return;
    fade(when);
    const render::context_stays stays;
    // Without a framebuffer nothing survives the swap.
    const bool changed = !damage_.parts().empty() || !frame_.allocated();
    if (!changed && !can_prepare()) return;
    const painter brush = {*renderer_, port_, light, shininess, glow_};
    glViewport(0, 0, port_.width, port_.height);
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_SCISSOR_TEST);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_FALSE);
    // A view that has just changed may change again before a key is pressed.
    const bool prepared = !std::exchange(view_is_new_, false) && keep_fixed(brush, meanwhile);
    if (prepared) {
        draw_damage(brush, meanwhile);
    } else if (meanwhile()) {
        damage_.clear();
        frame_.bind();
        draw_whole(brush, meanwhile);
    }
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glDisable(GL_SCISSOR_TEST);
}

void keyboard_view::show(render::gl_uint framebuffer, const meanwhile_t& meanwhile) {
    if (!renderer_) return;
    frame_.present(framebuffer);
    changed_.clear();
    await_gl(meanwhile);
}

damage keyboard_view::show_changes(render::gl_uint framebuffer, const meanwhile_t& meanwhile) {
    const damage now = std::exchange(changed_, {});
    if (!renderer_ || now.parts().empty()) return {};
    for (const render::pixel_rect& part : now.parts())
        frame_.present(framebuffer, part);
    await_gl(meanwhile);
    return now;
}

std::optional<int> keyboard_view::key_at(int x, int y, std::optional<int> at_rest) const {
    std::optional<int> found;
    scene_.pick(
        x, y, port_, [&](int key) { found = key; }, at_rest);
    return found;
}

float keyboard_view::depth_at(int x, int y) {
    draw(); // or the depth would be that of another view
    return frame_.depth_at(x, y);
}

pixel_space keyboard_view::pixels() const {
    return {inverse_projection_, inverse_view_, static_cast<float>(port_.width) / 2,
            static_cast<float>(port_.height) / 2};
}

} // namespace quenvarel
