#pragma once
// The instrument without a window: events in; bytes and traces out.

#include "app/quenvarel.h"
#include "midi/midi_out.h"
#include "support/capture.h"
#include "support/recording_service.h"

#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace test_support {

struct player_settings {
    signed char channel = 1, program = 0, notebase = 36, velocity = 127;
    bool program_given = false;
};

class player_driver {
public:
    explicit player_driver(const player_settings& settings = {}) {
        port_.open(0u);
        quenvarel::midi_port = &port_;
        player_.emplace(settings);
    }
    ~player_driver() { quenvarel::midi_port = nullptr; }

    // Events separated by blanks: a key goes down or up "+z" "-z", a special key "F+112" "F-112" by its code,
    // the left button "press" or "release" and the pointer moved "drag", each over a key "press:60" or none
    // "press:", "wheel:1", "focuslost", "focusback" with no key down. A key is a character, its code in
    // decimal where there are several digits, or one of the names below.
    void play(const std::string& events) {
        std::istringstream words(events);
        for (std::string word; words >> word;)
            play_one(word);
    }
    // What the end of the program does to the player.
    void end() { player_.reset(); }

    quenvarel::Quenvarel& player() { return *player_; }
    // Sent since the last call: short messages in hex, "sysex ADDRESS DATA" for a data set message that is
    // whole.
    std::string sent() {
        std::string all;
        for (const std::string& message : service_.take_messages())
            all += message + "; ";
        return all.substr(0, all.empty() ? 0 : all.size() - 2);
    }
    std::string traced() { return errors_.take(); }
    recording_service& service() { return service_; }

private:
    // The picture tells which key is under the pointer; here a word of the script does.
    struct player_with_pointer : quenvarel::Quenvarel {
        explicit player_with_pointer(const player_settings& s)
            : Quenvarel("nowhere/quenvarel", s.channel, s.program, s.notebase, s.velocity, s.program_given) {}
        std::optional<int> key_under(int, int) override { return pointed_at; }
        std::optional<int> pointed_at;
    };

    static unsigned char key_of(const std::string& name) {
        if (name.size() == 1) return static_cast<unsigned char>(name[0]);
        if (name == "Space") return ' ';
        if (name == "Return") return '\r';
        if (name == "Escape") return 27;
        if (name == "Tab") return '\t';
        if (name == "Delete") return 127;
        return static_cast<unsigned char>(std::stoi(name));
    }

    void play_one(const std::string& word) {
        const std::size_t colon = word.find(':', 1);
        const std::string what = word.substr(0, colon);
        const std::string over = colon == std::string::npos ? "" : word.substr(colon + 1);
        if (what == "focuslost") {
            keys_.leave([&](unsigned key) { return key < 256 && player_->staysdown(std::uint8_t(key)); },
                        [&](unsigned key) { change(key, false); });
            return player_->focuslost();
        }
        if (what == "focusback") return keys_.come_back({}, [&](unsigned key) { change(key, false); });
        if (what == "wheel") return player_->mousewheel(0, std::stoi(over), 10, 10);
        if (what == "press" || what == "release" || what == "drag") {
            player_->pointed_at = over.empty() ? std::nullopt : std::optional(std::stoi(over));
            // Somewhere else each time, so that a drag moves.
            x_ = (x_ + 37) % 700;
            if (what == "drag") return player_->motion(x_, 100);
            return player_->mouse(0, what == "release", x_, 100);
        }
        const bool special = word[0] == 'F', down = word[special] == '+';
        const unsigned key =
            special ? gems::first_special + unsigned(std::stoi(word.substr(2))) : key_of(word.substr(1));
        if (down)
            keys_.press({}, key);
        else
            keys_.release({}, key);
        change(key, down);
    }
    void change(unsigned key, bool down) {
        const auto character = static_cast<unsigned char>(key);
        const int code = int(key) - int(gems::first_special);
        if (key >= gems::first_special)
            down ? player_->special(code, 0, 0) : player_->specialup(code, 0, 0);
        else
            down ? player_->keyboard(character, 0, 0) : player_->keyboardup(character, 0, 0);
    }

    capture silent_out_{std::cout};
    capture errors_{std::cerr};
    recording_service service_;
    midi::midi_out_t port_{service_};
    std::optional<player_with_pointer> player_;
    gems::held_keys keys_;
    int x_ = 0;
};

} // namespace test_support
