#include "app/quenvarel.h"

#include "app/key_map.h"
#include "app/program_path.h"
#include "app/trace.h"
#include "app/window_system.h"
#include "libutils/error_report.h"
#include "render/math/projection.h"

#include <GL/glew.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <stdexcept>

namespace quenvarel {

midi::midi_out_t* midi_port = nullptr;

namespace {

constexpr int initial_width = 800, initial_height = 200;

constexpr render::perspective lens(double aspect) {
    return {.fov = 1.5707963267948966, .aspect = aspect, .znear = 0.0625, .zfar = 1024};
}

// In front of the keyboard's middle, well above it and so near that the 75 white keys fill the window's width
// once the offset has been added.
constexpr camera_t initial_camera = {{0, 25, 72}, {0, 0, 3.2f}};
constexpr render::dir3 camera_offset = {0.0f, 5.0f, -40.0f};

constexpr int left_button = 0, pressed = 0;

const char* checked(const char* program_path) {
    if (!program_path) throw std::logic_error("basic_string::_M_construct null not valid");
    return program_path;
}

std::uint8_t unsigned_byte(signed char value) {
    return static_cast<std::uint8_t>(value);
}

} // namespace

Quenvarel::Quenvarel(const char* program_path, signed char channel, signed char program, signed char notebase,
                     signed char velocity, bool program_given)
    : model_base_path_(quenvarel::model_base_path(checked(program_path))),
      sound_{unsigned_byte(channel), unsigned_byte(program), unsigned_byte(notebase),
             unsigned_byte(velocity)},
      player_(*midi_port, sound_, *this),
      controls_(*midi_port, sound_),
      camera_(initial_camera),
      width_(initial_width),
      height_(initial_height) {
    gems::registry->initwindowsize(initial_width, initial_height);
    if (program_given) controls_.send_program();
}

Quenvarel::~Quenvarel() {
    player_.silence();
    controls_.reset_display();
}

void Quenvarel::init() {
    if (const GLenum error = glewInit(); error != GLEW_OK) {
        libutils::error_report();
        std::cerr << "glewInit() error: " << glewGetErrorString(error) << std::endl;
        std::exit(1);
    }
    glEnable(GL_DEPTH_TEST);
    glClearColor(0.055f, 0.06f, 0.075f, 1.0f);
    home_view();
    if (const gems::window_system* system = gems::registry->system(*this))
        player_.use_layout(system->siblings());
    controls_.greet();
    gems::registry->setkeyrepeat(false);
    gems::registry->setidle(false);
}

void Quenvarel::closing() {
    player_.use_layout(gems::letter_cases());
}

void Quenvarel::reshape(int width, int height) {
    width_ = width;
    height_ = height;
    if (width <= 0 || height <= 0) return;
    glViewport(0, 0, width, height);
    const render::projection extents = render::to_projection(lens(render::aspect(width, height)));
    projection_ = render::perspective_matrix(extents);
    inverse_projection_ = render::inverse_perspective_matrix(extents);
    update_view();
}

void Quenvarel::display() {
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    gems::registry->swapbuffers();
}

// ---- Keys

void Quenvarel::keyboard(unsigned char key, int, int) {
    const signed char value = key_map[key];
    switch (value) {
    case return_key:
        trace().text("return");
        home_view();
        redraw();
        break;
    case plus:
        player_.change_velocity(-1);
        break;
    case star:
        player_.change_velocity(1);
        break;
    case delete_key:
        controls_.change_channel(-1);
        break;
    case escape:
        gems::registry->leavemainloop();
        [[fallthrough]];
    case space:
        player_.hold(key);
        break;
    case tab:
    case no_function:
        trace().text("key 0x").hex(key).text(", '").byte(key).text("'");
        break;
    default:
        player_.key_down(key, value);
    }
}

void Quenvarel::keyboardup(unsigned char key, int, int) {
    switch (key_map[key]) {
    case space:
        player_.release_held();
        break;
    case tab:
        if (mode_ == mode_t::camera) mode_ = mode_t::normal;
        break;
    default:
        player_.key_up(key);
    }
}

void Quenvarel::special(int key, int, int) {
    switch (key) {
    case key_shift_left:
    case key_shift_right:
        if (mode_ == mode_t::normal) mode_ = mode_t::shift;
        break;
    case key_alt_left:
    case key_alt_right:
        if (mode_ == mode_t::normal) mode_ = mode_t::camera;
        break;
    default:
        controls_.special(key, mode_ == mode_t::shift);
    }
}

void Quenvarel::specialup(int key, int, int) {
    const bool is_shift = key == key_shift_left || key == key_shift_right;
    const bool is_alt = key == key_alt_left || key == key_alt_right;
    if ((is_shift && mode_ == mode_t::shift) || (is_alt && mode_ == mode_t::camera)) mode_ = mode_t::normal;
}

void Quenvarel::focuslost() {
    player_.keys_lost();
    mode_ = mode_t::normal;
}

// ---- Mouse

void Quenvarel::mouse(int button, int state, int x, int y) {
    if (mode_ == mode_t::camera) {
        if (button == left_button && state == pressed) picked_depth_ = depth_at(x, bottom_up(y));
        camera_.button(button, state, x, bottom_up(y));
        update_view();
        redraw();
    }
    if (button != left_button) return;
    if (state != pressed) {
        // Whatever mode the drag has ended in, neither a note nor the camera stays on the pointer.
        if (mode_ == mode_t::normal)
            player_.mouse_up(key_under(x, y));
        else if (player_.mouse_held())
            player_.mouse_up(std::nullopt);
        camera_.button(button, state, x, bottom_up(y));
    } else if (mode_ == mode_t::normal) {
        player_.mouse_down(key_under(x, y));
    }
}

void Quenvarel::motion(int x, int y) {
    if (mode_ == mode_t::normal) {
        if (player_.mouse_held()) player_.mouse_moved(key_under(x, y));
    } else if (mode_ == mode_t::camera) {
        if (!camera_.drag(x, bottom_up(y), picked_depth_, pixels())) return;
        update_view();
        redraw();
    }
}

void Quenvarel::mousewheel(int wheel, int direction, int, int) {
    if (mode_ != mode_t::camera || wheel != 0) return;
    camera_.zoom(direction);
    update_view();
    redraw();
}

std::optional<int> Quenvarel::key_under(int, int) {
    return std::nullopt;
}

// ---- View

void Quenvarel::home_view() {
    camera_.reset();
    camera_.move_eye(camera_offset);
    update_view();
}

void Quenvarel::update_view() {
    view_ = view_matrix(camera_.camera());
    inverse_view_ = inverse_view_matrix(camera_.camera());
    scene_.update_all(view_, inverse_view_);
}

float Quenvarel::depth_at(int x, int y) const {
    float depth = 1;
    glReadPixels(x, y, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
    return depth;
}

pixel_space Quenvarel::pixels() const {
    return {inverse_projection_, inverse_view_, static_cast<float>(std::max(width_, 1)) / 2,
            static_cast<float>(std::max(height_, 1)) / 2};
}

// ---- The keys in the picture

void Quenvarel::press(int key) {
    scene_.press(key, view_, inverse_view_);
}

void Quenvarel::release(int key) {
    scene_.release(key, view_, inverse_view_);
}

void Quenvarel::release_all() {
    scene_.release_all(view_, inverse_view_);
}

void Quenvarel::redraw() {
    gems::registry->postredisplay();
}

} // namespace quenvarel
