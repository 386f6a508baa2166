#pragma once
// The instrument without a window: events in; bytes and traces out.

#include "app/quenvarel.h"
#include "midi/midi_out.h"
#include "support/capture.h"
#include "support/recording_service.h"

#include <map>
#include <optional>

namespace test_support {

struct player_settings {
    signed char channel = 1, program = 0, notebase = 36, velocity = 127;
    bool program_given = false;
};

class player_driver {
public:
    // With the path of the program it draws and picks the keys that are beside it, which takes a context.
    explicit player_driver(const player_settings& settings = {}, const char* program = nullptr)
        : has_keys_(program != nullptr) {
        port_.open(0u);
        quenvarel::midi_port = &port_;
        player_.emplace(settings, program);
        if (has_keys_) player_->init();
    }
    ~player_driver() {
        end();
        quenvarel::midi_port = nullptr;
    }

    // Events separated by blanks: a key goes down or up "+z" "-z", a special key "F+112" "F-112" by its code,
    // the left button "press" or "release" and the pointer moved "drag", each over a key "press:60" or none
    // "press:", "wheel:1", "focuslost", "focusback" with no key down. Some keys have names, see below.
    void play(const std::string& events) {
        std::istringstream words(events);
        for (std::string word; words >> word;)
            play_one(word);
    }
    // What the end of the program does to the player.
    void end() {
        if (player_ && has_keys_) player_->closing();
        player_.reset();
    }

    quenvarel::Quenvarel& player() { return *player_; }
    // Sent since the last call, in hex: "91 3c 7f; 91 3c 00".
    std::string sent() { return service_.take_messages(); }
    std::string traced() { return errors_.take(); }
    recording_service& service() { return service_; }

private:
    // The picture tells which key is under the pointer; without one, a word of the script does.
    struct player_with_pointer : quenvarel::Quenvarel {
        player_with_pointer(const player_settings& s, const char* program)
            : Quenvarel(program ? program : "nowhere/quenvarel", s.channel, s.program, s.notebase, s.velocity,
                        s.program_given),
              is_scripted(!program) {}
        std::optional<int> key_under(int x, int y) override {
            return is_scripted ? pointed_at : Quenvarel::key_under(x, y);
        }
        bool is_scripted;
        std::optional<int> pointed_at;
    };

    void play_one(const std::string& word) {
        const std::size_t colon = word.find(':', 1);
        const std::string what = word.substr(0, colon);
        const std::string over = colon == std::string::npos ? "" : word.substr(colon + 1);
        const auto raise = [&](unsigned key) { change(key, false); };
        if (what == "focuslost") {
            keys_.leave([&](unsigned key) { return key < 256 && player_->staysdown(std::uint8_t(key)); },
                        raise);
            return player_->focuslost();
        }
        if (what == "focusback") return keys_.come_back({}, raise);
        if (what == "wheel") return player_->mousewheel(0, std::stoi(over), 10, 10);
        if (what == "press" || what == "release" || what == "drag") {
            player_->pointed_at = over.empty() ? std::nullopt : std::optional(std::stoi(over));
            x_ = (x_ + 37) % 700; // somewhere else each time, so that a drag moves
            if (what == "drag") return player_->motion(x_, 100);
            return player_->mouse(0, what == "release", x_, 100);
        }
        static const std::map<std::string, unsigned> names = {
            {"Space", ' '}, {"Return", '\r'}, {"Escape", 27}, {"Tab", '\t'}, {"Delete", 127}};
        const bool special = word[0] == 'F', down = word[special] == '+';
        const std::string name = word.substr(1 + special);
        const unsigned key = special            ? gems::first_special + unsigned(std::stoi(name))
                             : name.size() == 1 ? static_cast<unsigned char>(name[0])
                                                : names.at(name);
        if (down)
            keys_.press({}, key);
        else
            keys_.release({}, key);
        change(key, down);
    }
    void change(unsigned key, bool down) {
        const auto character = static_cast<unsigned char>(key);
        const int code = int(key) - int(gems::first_special);
        if (code >= 0)
            down ? player_->special(code, 0, 0) : player_->specialup(code, 0, 0);
        else
            down ? player_->keyboard(character, 0, 0) : player_->keyboardup(character, 0, 0);
    }

    capture silent_out_{std::cout}, errors_{std::cerr};
    recording_service service_;
    midi::midi_out_t port_{service_};
    bool has_keys_;
    std::optional<player_with_pointer> player_;
    gems::held_keys keys_;
    int x_ = 0;
};

} // namespace test_support
