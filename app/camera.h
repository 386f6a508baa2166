#pragma once
// The camera, and how the mouse moves it. Knows neither the window nor the GL.

#include "render/math/types.h"

namespace quenvarel {

// Looks from the eye to the target, upright: the y axis is up. The eye is never straight above or below the
// target.
struct camera_t {
    render::pos3 eye, target;
    friend bool operator==(const camera_t&, const camera_t&) = default;
};

// From world to eye space, and back. Neither scales.
render::mtx3w view_matrix(const camera_t& camera);
render::mtx3w inverse_view_matrix(const camera_t& camera);

// What turns pixels into points: the inverses of the matrices with which the picture was drawn, and half the
// size of the window in pixels.
struct pixel_space {
    render::mtx3w inverse_projection, inverse_view;
    float half_width, half_height;
};
// The point in the world at a pixel, counted from the lower left, with a depth from 0 (near) to 1 (far).
render::pos3 point_at(float x, float y, float depth, const pixel_space& space);

// Turns eye and target about a point, which keeps its place in the picture: yaw about the vertical axis,
// pitch about the picture's horizontal one, in degrees. Positive angles move the eye to the right and up. It
// stops short of looking straight down or up.
camera_t orbit(const camera_t& camera, const render::pos3& about, float yaw, float pitch);

// Brings eye and target that many steps nearer to a point, which keeps its place in the picture (or farther
// away). Each step changes the distances, also the one from eye to target, by the same ratio; one that would
// lead the eye too near to the target or too far from it is not taken.
camera_t zoom(const camera_t& camera, const render::pos3& about, int steps);

// A camera in the user's hand. Pixels are counted from the lower left.
class camera_controller {
public:
    explicit camera_controller(const camera_t& initial) : initial_(initial), camera_(initial) {}

    const camera_t& camera() const { return camera_; }
    // Whether a drag or the wheel has changed the camera since the last reset.
    bool turned() const { return turned_; }
    void reset();
    // To another initial camera, which later resets lead to.
    void reset(const camera_t& initial);
    void move_eye(const render::dir3& offset);
    // The left or the middle button starts and ends a drag. State 0 is pressed, 1 released.
    void button(int button, int state, int x, int y);
    // Orbits about the point where the drag began, at the given depth; about the target when there was only
    // background. True when the camera has changed.
    bool drag(int x, int y, float depth, const pixel_space& space);
    // Zooms to the point at the pixel with the given depth; to the target when there is only background.
    // Positive is nearer.
    void zoom(int direction, int x, int y, float depth, const pixel_space& space);

private:
    enum class drag_state { none, begun, turning };

    render::pos3 point_under(int x, int y, float depth, const pixel_space& space) const;

    camera_t initial_, camera_;
    drag_state state_ = drag_state::none;
    bool turned_ = false;
    int last_x_ = 0, last_y_ = 0;
    render::pos3 pivot_ = {};
};

} // namespace quenvarel
