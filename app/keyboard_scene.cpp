#include "app/keyboard_scene.h"

#include "render/math/matrix.h"

namespace quenvarel {

using render::mtx3w;

namespace {

constexpr unsigned char press_parameter = 127;
constexpr float press_angle = press_parameter * 0.03125f; // degrees
constexpr render::dir3 press_axis = {1, 0, 0};

mtx3w translation(const render::pos3& by, float sign) {
    return mtx3w::translation(sign * by.x, sign * by.y, sign * by.z);
}

} // namespace

keyboard_scene::keyboard_scene()
    : press_rotation_(render::to_matrix(render::rot3{press_angle, press_axis})),
      inverse_press_rotation_(render::to_matrix(render::rot3{-press_angle, press_axis})) {}

void keyboard_scene::place(slot& key, const mtx3w& view, const mtx3w& normal) const {
    if (!key.pressed) {
        key.model = view;
        key.normal = normal;
        return;
    }
    const mtx3w to_pivot = translation(key.pivot, 1), from_pivot = translation(key.pivot, -1);
    key.model = view * to_pivot * press_rotation_ * from_pivot;
    key.normal = to_pivot * inverse_press_rotation_ * from_pivot * normal;
}

void keyboard_scene::press(int key, const mtx3w& view, const mtx3w& normal) {
    slot& pressed = slots_[index(key)];
    pressed.pressed = true;
    place(pressed, view, normal);
}

void keyboard_scene::release(int key, const mtx3w& view, const mtx3w& normal) {
    slot& released = slots_[index(key)];
    released.pressed = false;
    place(released, view, normal);
}

void keyboard_scene::release_all(const mtx3w& view, const mtx3w& normal) {
    for (slot& key : slots_)
        key.pressed = false;
    update_all(view, normal);
}

void keyboard_scene::update_all(const mtx3w& view, const mtx3w& normal) {
    for (slot& key : slots_)
        place(key, view, normal);
}

} // namespace quenvarel
