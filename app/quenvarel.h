#pragma once
// The instrument: one window's events turned into notes, sounds and a picture.

#include "app/announcer.h"
#include "app/camera.h"
#include "app/gluty.h"
#include "app/input_player.h"
#include "app/key_places.h"
#include "app/keyboard_view.h"
#include "app/note_player.h"
#include "app/sound.h"
#include "app/synthesizer_controls.h"

#include <bitset>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace midi {
class midi_out_t;
}

namespace quenvarel {

// The port that everything is sent to. Set before the instrument is made and open until it is gone.
extern midi::midi_out_t* midi_port;

class Quenvarel : public gems::glutyAPI4, private keyboard_picture, private input_listener {
public:
    // The program path locates the models and must not be null. The program is sent if it was given.
    Quenvarel(const char* program_path, signed char channel, signed char program, signed char notebase,
              signed char velocity, bool program_given);
    // Notes lie where the drawing of the two manuals has them, whatever the keyboard's layout. To be called
    // before the main loop.
    void play_by_places() { by_places_ = true; }
    // What the window says, to be chosen before it is there. Returns its title, which begins with the given
    // one.
    const char* choose(const announcement_options& options, const char* plain_title);
    // Ends what still sounds and resets the module's display. The GL context may be gone.
    ~Quenvarel() override;
    Quenvarel(const Quenvarel&) = delete;
    Quenvarel& operator=(const Quenvarel&) = delete;

    // From now on plays these as well; they must outlive the instrument. Before the loop.
    void play(input_player& inputs);

    void reshape(int width, int height) override;
    void display() override;
    void keyboard(unsigned char key, int x, int y) override;
    void special(int key, int x, int y) override;
    void mouse(int button, int state, int x, int y) override;
    void motion(int x, int y) override;
    void init() override;
    void keyboardup(unsigned char key, int x, int y) override;
    void specialup(int key, int x, int y) override;
    void mousewheel(int wheel, int direction, int x, int y) override;
    std::optional<unsigned char> placed(unsigned place) override;
    void placedkey(unsigned char key) override;
    void placedkeyup(unsigned char key) override;
    void lookaround() override;
    bool staysdown(unsigned char key) override;
    void focuslost() override;
    void closing() override;
    bool called() override;

    const camera_t& camera() const { return camera_.camera(); }
    const keyboard_scene& scene() const { return view_.scene(); }

protected:
    // The key that is drawn at a pixel counted from the upper left.
    virtual std::optional<int> key_under(int x, int y);

private:
    using clock = std::chrono::steady_clock;
    enum class mode_t { normal = 0, shift = 1, camera = 3 };

    void press(int key) override;
    void release(int key) override;
    void release_all() override;
    void redraw() override;
    void redraw_at(clock::time_point when); // at once when that is past
    // After whatever may have changed what the window says; the second one says it.
    void look_for_news();
    void announce();

    void input_pressed(int key) override;
    void input_released(int key) override;
    void input_moved() override;
    void input_program(int channel, int program) override;
    bool sounds_elsewhere(int channel, int note) const override;

    void find_places();
    void read_layout();
    signed char value_of(unsigned char typed) const;
    void home_view();
    void camera_changed();
    int bottom_up(int y) const { return static_cast<int>(std::int64_t{height_} - 1 - y); }

    std::string model_base_path_;
    sound_t sound_;
    note_player player_;
    synthesizer_controls controls_;
    input_player* inputs_ = nullptr;
    std::bitset<keyboard_scene::key_count> pressed_; // by the computer's keys and the mouse
    mode_t mode_ = mode_t::normal;
    std::optional<key_places> places_; // where the system tells them
    bool by_places_ = false;

    keyboard_view view_;
    announcer announcer_;
    std::string plain_title_, title_; // as the window has it
    camera_controller camera_;
    clock::time_point drawn_at_; // the last picture
    int width_, height_;         // of the window
    bool has_new_size_ = true;   // since it was last shown
    bool has_started_ = false;   // everything that a picture needs is there
    float picked_depth_ = 1;     // under the pointer where a camera drag began
};

} // namespace quenvarel
