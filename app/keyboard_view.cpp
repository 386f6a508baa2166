#include "app/keyboard_view.h"

#include "app/home_view.h"
#include "render/gl/step_check.h"
#include "render/math/projection.h"

#include <GL/glew.h>

namespace quenvarel {

namespace {

constexpr render::pos3 light = {-25.0f, 25.0f, 50.0f}; // eye space: from the left, from above and from behind
constexpr float shininess = 10.0f;
constexpr render::col3 background = {0.055f, 0.06f, 0.075f};

std::size_t index(int key) {
    return static_cast<unsigned>(key) % keyboard_scene::key_count;
}

constexpr int wanted_samples = 4; // for each pixel

} // namespace

void keyboard_view::open(const std::string& base_path, const std::string& key_directory,
                         const std::function<bool()>& stop) {
    renderer_.emplace();
    renderer_->init(base_path);
    scene_.load(key_directory, stop);
    damage_.add(port_.whole());
}

void keyboard_view::close() {
    frame_.destroy();
    glow_.destroy();
    scene_.clear();
    renderer_.reset();
}

void keyboard_view::resize(int width, int height) {
    const render::projection extents = render::to_projection(lens(render::aspect(width, height)));
    port_ = {render::perspective_matrix(extents), width, height};
    inverse_projection_ = render::inverse_perspective_matrix(extents);
    frame_.allocate(width, height, wanted_samples);
    damage_.clear();
    damage_.add(port_.whole());
}

void keyboard_view::look(const camera_t& camera) {
    view_ = view_matrix(camera);
    inverse_view_ = inverse_view_matrix(camera);
    scene_.update_all(view_, inverse_view_);
    damage_.add(port_.whole());
}

template <class Change>
void keyboard_view::change(int key, Change how) {
    damage_.add(scene_.covered(key, port_));
    (scene_.*how)(key, view_, inverse_view_);
    damage_.add(scene_.covered(key, port_));
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
        scene_.set_glow(key, level);
        fading_.set(index(key), level > 0);
        damage_.add(scene_.covered(key, port_));
    }
}

void keyboard_view::draw(clock::time_point when) {
    if (!renderer_) return;
    fade(when);
    const render::context_stays stays;
    if (!frame_.allocated()) damage_.add(port_.whole()); // without a framebuffer nothing survives the swap
    frame_.bind();
    glViewport(0, 0, port_.width, port_.height);
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_SCISSOR_TEST);
    glClearColor(background.r, background.g, background.b, 1.0f);
    for (const render::pixel_rect& part : damage_.parts()) {
        glScissor(part.left, part.bottom, part.width(), part.height());
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        const render::pixel_rect drawn = scene_.draw({*renderer_, port_, light, shininess, glow_}, part);
        if (drawn != part) frame_.fill(part, background);
        frame_.resolve(drawn);
    }
    glDisable(GL_SCISSOR_TEST);
    damage_.clear();
}

void keyboard_view::show(render::gl_uint framebuffer) {
    if (renderer_) frame_.present(framebuffer);
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
