#include "app/quenvarel.h"

#include "app/failure_notice.h"
#include "app/home_view.h"
#include "app/key_map.h"
#include "app/program_path.h"
#include "app/special_keys.h"
#include "app/trace.h"
#include "libutils/free_memory.h"
#include "render/gl/step_check.h"
#include "render/math/operations.h"
#include "render/math/projection.h"

#include "midi/midi_out.h"
#include "midi/soundfont.h"

#include <cctype>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <utility>
#include <vector>

namespace quenvarel {

midi::midi_out_t* midi_port = nullptr;

namespace {

constexpr int initial_width = 800, initial_height = 200;

// A screen shows some sixty pictures a second; drawing more would only make keys wait.
constexpr std::chrono::milliseconds between_pictures{12};
// After the view has changed, before preparing for keys.
constexpr std::chrono::milliseconds rest{150};

constexpr int left_button = 0, middle_button = 1, pressed = 0;

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
      announcer_(view_, sound_),
      camera_(fitted_camera(render::aspect(initial_width, initial_height))),
      width_(initial_width),
      height_(initial_height) {
    gems::registry->initwindowsize(initial_width, initial_height);
    if (program_given) controls_.send_program();
    announcer_.device(midi_port->name(), midi::soundfont_name(), clock::now());
}

Quenvarel::~Quenvarel() {
    player_.silence();
    if (inputs_) inputs_->leave();
    controls_.reset_display();
}

void Quenvarel::init() {
    if (!render::load_gl()) std::exit(1);
    forget_failures();
    find_places();
    const auto leaving = [] { return gems::registry->leaving(); };
    view_.open(model_base_path_, model_base_path_ + "pmt", leaving);
    if (leaving()) return;
    home_view();
    announce();
    controls_.greet();
    if (inputs_) {
        const auto greeting = controls_.greeting();
        inputs_->expect_no_echo_of({greeting.begin(), greeting.end()});
    }
    gems::registry->setkeyrepeat(false);
    gems::registry->setidle(false);
}

void Quenvarel::play(input_player& inputs) {
    inputs_ = &inputs;
    inputs.tell(this);
}

void Quenvarel::find_places() {
    if (auto layout = keyboard_layout::of_current_window()) places_.emplace(std::move(layout));
    if (places_ && !by_places_ && !places_->written_as_drawn())
        std::cout << "This keyboard layout is not Japanese: some notes are elsewhere or need Shift. "
                     "--keys=places plays by the places of the keys."
                  << std::endl;
    if (places_) read_layout();
}

void Quenvarel::read_layout() {
    std::vector<typed_key> typed;
    if (by_places_) {
        // As it is drawn from the left, the lower manual first.
        for (const key_assignment& key : key_assignments)
            for (const note_key& note : places_->notes())
                if (note.drawn == key.character && note.written != 0)
                    typed.push_back({key.value, note.written});
    } else {
        for (const typed_key& key : typed_characters()) {
            // Others may be there with AltGr.
            const bool is_plain = key.character < 128 && std::isalnum(static_cast<int>(key.character)) != 0;
            if (!is_plain || places_->typing_of(key.character)) typed.push_back(key);
        }
    }
    announcer_.typed(typed);
}

void Quenvarel::closing() {
    view_.close();
}

void Quenvarel::reshape(int width, int height) {
    height_ = height;
    if (width <= 0 || height <= 0) return;
    width_ = width;
    has_new_size_ = true;
    view_.resize(width, height);
    if (!camera_.turned()) home_view();
}

void Quenvarel::display() {
    announce();
    const auto let_keys_in = [this] {
        gems::registry->handle_keys();
        called();
        return !gems::registry->leaving();
    };
    view_.draw(clock::now(), let_keys_in);
    if (gems::registry->keepspicture() && view_.keeps_picture()) {
        gems::registry->showparts(view_.show_changes(0, let_keys_in).parts());
    } else {
        view_.show(0, let_keys_in);
        if (!gems::registry->leaving()) gems::registry->swapbuffers();
        // The GL may have drawn into the window as it was.
        if (std::exchange(has_new_size_, false)) redraw();
    }
    drawn_at_ = clock::now();
    if (const auto news = announcer_.next_change()) redraw_at(*news);
    if (const auto next = view_.next_fade())
        redraw_at(*next);
    else if (view_.can_prepare())
        redraw_at(drawn_at_ + rest);
    else if (!std::exchange(has_started_, true))
        libutils::give_back_free_memory(); // what reading models and compiling shaders needed
}

// ---- What the window says

const char* Quenvarel::choose(const announcement_options& options, const char* plain_title) {
    announcer_.choose(options);
    plain_title_ = plain_title;
    title_ = announcer_.title(plain_title_);
    return title_.c_str();
}

void Quenvarel::look_for_news() {
    if (announcer_.look(controls_.reverb(), player_.holds(), clock::now())) redraw();
}

void Quenvarel::announce() {
    if (!announcer_.update(controls_.reverb(), player_.holds(), clock::now())) return;
    if (std::string now = announcer_.title(plain_title_); now != title_) {
        title_ = std::move(now);
        gems::registry->settitle(title_.c_str());
    }
}

// ---- Keys

void Quenvarel::keyboard(unsigned char key, int, int) {
    switch (const signed char value = value_of(key)) {
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
    look_for_news();
}

void Quenvarel::keyboardup(unsigned char key, int, int) {
    switch (const signed char value = value_of(key)) {
    case space:
        player_.release_held();
        break;
    case tab:
        if (mode_ == mode_t::camera) mode_ = mode_t::normal;
        break;
    default:
        if (value >= 0) player_.key_up(value);
    }
    look_for_news();
}

std::optional<unsigned char> Quenvarel::placed(unsigned place) {
    return by_places_ && places_ ? places_->drawn_at(place) : std::nullopt;
}

void Quenvarel::placedkey(unsigned char key) {
    player_.key_down(key, key_map[key]);
}

void Quenvarel::placedkeyup(unsigned char key) {
    player_.key_up(key_map[key]);
}

// A note's character on another key than the drawing's does nothing where places count.
signed char Quenvarel::value_of(unsigned char typed) const {
    const signed char value = key_map[typed];
    if (value >= 0 && by_places_ && places_) return no_function;
    return value;
}

void Quenvarel::lookaround() {
    if (!places_ || !places_->update()) return;
    read_layout();
    redraw();
}

void Quenvarel::special(int key, int, int) {
    switch (key) {
    case gems::key_shift_left:
    case gems::key_shift_right:
        if (mode_ == mode_t::normal) mode_ = mode_t::shift;
        break;
    case gems::key_alt_left:
    case gems::key_alt_right:
        if (mode_ == mode_t::normal) mode_ = mode_t::camera;
        break;
    default:
        controls_.special(key, mode_ == mode_t::shift);
    }
    look_for_news();
}

void Quenvarel::specialup(int key, int, int) {
    const bool is_shift = key == gems::key_shift_left || key == gems::key_shift_right;
    const bool is_alt = key == gems::key_alt_left || key == gems::key_alt_right;
    if ((is_shift && mode_ == mode_t::shift) || (is_alt && mode_ == mode_t::camera)) mode_ = mode_t::normal;
}

bool Quenvarel::staysdown(unsigned char key) {
    return key_map[key] == space;
}

bool Quenvarel::called() {
    return inputs_ && inputs_->handle();
}

void Quenvarel::focuslost() {
    player_.mouse_lost();
}

// ---- Mouse

void Quenvarel::mouse(int button, int state, int x, int y) {
    const bool down = state == pressed;
    // Whatever mode a drag ends in, neither a note nor the camera stays on the pointer.
    if (mode_ == mode_t::camera || !down) {
        if ((button == left_button || button == middle_button) && down)
            picked_depth_ = view_.depth_at(x, bottom_up(y));
        camera_.button(button, state, x, bottom_up(y));
    }
    if (mode_ == mode_t::camera) {
        camera_changed();
        redraw();
    }
    if (button != left_button) return;
    if (mode_ == mode_t::normal)
        down ? player_.mouse_down(key_under(x, y)) : player_.mouse_up(key_under(x, y));
    else if (!down && player_.mouse_held())
        player_.mouse_up(std::nullopt);
}

void Quenvarel::motion(int x, int y) {
    if (mode_ == mode_t::normal) {
        if (player_.mouse_held()) player_.mouse_moved(key_under(x, y));
    } else if (mode_ == mode_t::camera) {
        if (!camera_.drag(x, bottom_up(y), picked_depth_, view_.pixels())) return;
        camera_changed();
        redraw();
    }
}

void Quenvarel::mousewheel(int wheel, int direction, int x, int y) {
    if (mode_ != mode_t::camera || wheel != 0) return;
    camera_.zoom(direction, x, bottom_up(y), view_.depth_at(x, bottom_up(y)), view_.pixels());
    camera_changed();
    redraw();
}

std::optional<int> Quenvarel::key_under(int x, int y) {
    // Pressed, the key that the mouse sounds sinks away under the pointer, and its neighbour would play.
    return view_.key_at(x, bottom_up(y), player_.mouse_note());
}

// ---- View

void Quenvarel::home_view() {
    camera_.reset(fitted_camera(render::aspect(width_, height_)));
    camera_.move_eye(camera_offset);
    camera_changed();
}

void Quenvarel::camera_changed() {
    view_.look(camera_.camera());
}

// ---- The keys in the picture

// A key is down as long as anybody holds it down.
void Quenvarel::press(int key) {
    pressed_.set(static_cast<std::size_t>(key) & 127);
    if (sound_.velocity > 0) announcer_.note_begins(clock::now());
    view_.press(key);
}

void Quenvarel::release(int key) {
    pressed_.reset(static_cast<std::size_t>(key) & 127);
    if (!inputs_ || !inputs_->holds(key)) view_.release(key);
}

void Quenvarel::release_all() {
    pressed_.reset();
    view_.release_all();
    for (int key = 0; inputs_ && key < keyboard_scene::key_count; ++key)
        if (inputs_->holds(key)) view_.press(key);
}

void Quenvarel::input_pressed(int key) {
    announcer_.note_begins(clock::now());
    view_.press(key);
}

void Quenvarel::input_released(int key) {
    if (!pressed_[static_cast<std::size_t>(key)]) view_.release(key);
}

void Quenvarel::input_moved() {
    redraw();
}

void Quenvarel::input_program(int channel, int program) {
    if (channel == sound_.channel) sound_.program = static_cast<std::uint8_t>(program);
    announcer_.program(channel, program);
    look_for_news();
}

bool Quenvarel::sounds_elsewhere(int channel, int note) const {
    return player_.sounds(channel, note);
}

void Quenvarel::redraw() {
    redraw_at(drawn_at_ + between_pictures);
}

void Quenvarel::redraw_at(clock::time_point when) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(when - clock::now()).count();
    left > 0 ? gems::registry->redisplay_in(unsigned(left)) : gems::registry->postredisplay();
}

} // namespace quenvarel
