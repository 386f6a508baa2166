#include "app/camera.h"

#include "render/math/matrix.h"
#include "render/math/operations.h"

#include <algorithm>
#include <cmath>

namespace quenvarel {

using render::dir3;
using render::mtx3w;
using render::pos3;
using render::vec3w;

namespace {

constexpr float steepest = 85.0f; // degrees from the horizon
constexpr float zoom_ratio = 0.9f;
constexpr float nearest = 4.0f, farthest = 400.0f;
constexpr float degrees_across_window = 180.0f;

constexpr int left_button = 0, middle_button = 1;

camera_t turn(const camera_t& camera, const pos3& about, float degrees, const dir3& axis) {
    const mtx3w rotation = render::to_matrix(render::rot3{degrees, axis});
    const auto turned = [&](const pos3& p) {
        const dir3 d = p - about;
        const vec3w t = rotation * vec3w{d.x, d.y, d.z, 0};
        return about + dir3{t.x, t.y, t.z};
    };
    return {turned(camera.eye), turned(camera.target)};
}

} // namespace

mtx3w view_matrix(const camera_t& camera) {
    return render::look_at(camera.eye, camera.target);
}

mtx3w inverse_view_matrix(const camera_t& camera) {
    const mtx3w v = view_matrix(camera);
    return {{v[0], v[4], v[8], 0, v[1], v[5], v[9], 0, v[2], v[6], v[10], 0, camera.eye.x, camera.eye.y,
             camera.eye.z, 1}};
}

pos3 point_at(float x, float y, float depth, const pixel_space& space) {
    const vec3w clip = {(x - space.half_width) / space.half_width,
                        (y - space.half_height) / space.half_height, 2 * depth - 1, 1};
    const pos3 in_eye_space = render::homogeneous_divide(space.inverse_projection * clip);
    const vec3w point = space.inverse_view * vec3w{in_eye_space.x, in_eye_space.y, in_eye_space.z, 1};
    return {point.x, point.y, point.z};
}

camera_t orbit(const camera_t& camera, const pos3& about, float yaw, float pitch) {
    const camera_t yawed = turn(camera, about, yaw, {0, 1, 0});
    const mtx3w view = view_matrix(yawed);
    const dir3 right = {view[0], view[4], view[8]}, back = {view[2], view[6], view[10]};
    const float height =
        static_cast<float>(std::asin(std::clamp(back.y, -1.0f, 1.0f)) * render::degrees_per_radian);
    const float rise = std::clamp(height + pitch, -steepest, steepest) - height;
    return turn(yawed, about, -rise, right);
}

camera_t zoom(const camera_t& camera, const pos3& about, int steps) {
    const float ratio = std::pow(zoom_ratio, static_cast<float>(steps));
    const float distance = render::length(camera.eye - camera.target) * ratio;
    if (!(distance >= nearest && distance <= farthest)) return camera;
    return {about + (camera.eye - about) * ratio, about + (camera.target - about) * ratio};
}

void camera_controller::reset() {
    camera_ = initial_;
    state_ = drag_state::none;
    turned_ = false;
}

void camera_controller::reset(const camera_t& initial) {
    initial_ = initial;
    reset();
}

void camera_controller::move_eye(const dir3& offset) {
    camera_.eye = camera_.eye + offset;
}

void camera_controller::button(int button, int state, int x, int y) {
    if (button != left_button && button != middle_button) return;
    state_ = state == 0 ? drag_state::begun : drag_state::none;
    last_x_ = x;
    last_y_ = y;
}

bool camera_controller::drag(int x, int y, float depth, const pixel_space& space) {
    if (state_ == drag_state::none || (x == last_x_ && y == last_y_)) return false;
    if (state_ == drag_state::begun) {
        pivot_ = point_under(last_x_, last_y_, depth, space);
        state_ = drag_state::turning;
    }
    // The picture follows the pointer, so the eye goes the other way.
    const float degrees_per_pixel = degrees_across_window / (2 * space.half_width);
    const auto degrees = [&](int from, int to) {
        return (static_cast<float>(from) - static_cast<float>(to)) * degrees_per_pixel;
    };
    const camera_t turned = orbit(camera_, pivot_, degrees(last_x_, x), degrees(last_y_, y));
    last_x_ = x;
    last_y_ = y;
    const bool changed = turned != camera_;
    camera_ = turned;
    turned_ = turned_ || changed;
    return changed;
}

void camera_controller::zoom(int direction, int x, int y, float depth, const pixel_space& space) {
    camera_ = quenvarel::zoom(camera_, point_under(x, y, depth, space), direction);
    turned_ = true;
}

pos3 camera_controller::point_under(int x, int y, float depth, const pixel_space& space) const {
    return depth < 1 ? point_at(static_cast<float>(x), static_cast<float>(y), depth, space) : camera_.target;
}

} // namespace quenvarel
