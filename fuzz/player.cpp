// Whole evenings at the instrument: any sequence of keys, mouse and focus against an exact model of what is
// sent, what sounds and which keys are down. A sequence that breaks the promise is cut down to the events
// that it takes and printed in the words of player_driver.

#include "app/key_map.h"
#include "app/player_driver.h"
#include "fuzz/target.h"

#include <bitset>
#include <set>
#include <vector>

namespace {

// What a byte means, counted around.
const char* const words[] = {
    "+z",        "-z",         "+q",         "-q",       "+/",        "-/",        "+[",
    "-[",        "+a",         "-a",         "+Z",       "-Z",        "+Space",    "-Space",
    "++",        "+*",         "+Delete",    "+Tab",     "-Tab",      "+Return",   "F+1",
    "F+2",       "F+3",        "F+4",        "F+104",    "F+105",     "F+106",     "F+107",
    "F+108",     "F+112",      "F-112",      "F+117",    "F-117",     "press:0",   "press:60",
    "press:127", "press:",     "drag:0",     "drag:60",  "drag:61",   "drag:",     "wheel:1",
    "wheel:-1",  "release:60", "release:61", "release:", "focuslost", "focusback", "F+12",
};

using events = std::vector<std::string>;

class model {
public:
    explicit model(const test_support::player_settings& s)
        : channel_(s.channel),
          base_(s.notebase),
          velocity_(s.velocity),
          program_(s.program) {}

    // Returns what is sent, as recording_service writes it.
    std::string play(const std::string& word) {
        sent_.clear();
        const std::size_t colon = word.find(':');
        const std::string what = word.substr(0, colon);
        if (what == "focuslost") {
            raise_all(true);
            mouse_held_ = false;
            move_to(-1);
        } else if (what == "focusback") {
            raise_all(false);
        } else if (colon != word.npos) {
            mouse(what, colon + 1 == word.size() ? -1 : std::stoi(word.substr(colon + 1)));
        } else {
            const bool special = word[0] == 'F', down = word[special] == '+';
            const std::string name = word.substr(1 + special);
            const int key = special            ? 256 + std::stoi(name)
                            : name.size() == 1 ? name[0]
                            : name == "Space"  ? ' '
                            : name == "Return" ? '\r'
                            : name == "Tab"    ? '\t'
                                               : 127;
            if (down)
                held_.insert(key);
            else
                held_.erase(key);
            turn(key, down);
        }
        return sent_;
    }
    std::string end() {
        sent_.clear();
        silence();
        roland({0x20, 0x01, 0x00, 0x00});
        return sent_;
    }

    std::bitset<128> pressed; // by key

private:
    enum { normal, shift, camera };

    void send(std::vector<std::uint8_t> bytes) {
        sent_ += (sent_.empty() ? "" : "; ") + test_support::hex(bytes.data(), bytes.size());
    }
    void roland(std::vector<std::uint8_t> data) {
        std::vector<std::uint8_t> bytes{0xF0, 0x41, 0x10, 0x16, 0x12};
        int sum = 0;
        for (const std::uint8_t byte : data)
            bytes.push_back(byte), sum += byte;
        bytes.push_back(std::uint8_t(-sum & 127));
        bytes.push_back(0xF7);
        send(bytes);
    }
    void note(int key, int velocity) {
        send({std::uint8_t(0x90 | channel_), std::uint8_t(key), std::uint8_t(velocity)});
        sounding_[std::size_t(channel_ * 128 + key)] = velocity > 0;
    }
    void begin(int key) {
        note(key, velocity_);
        pressed.set(std::size_t(key));
    }
    void end(int key) {
        note(key, 0);
        pressed.reset(std::size_t(key));
    }
    void silence() {
        for (std::size_t at = 0; at < sounding_.size(); ++at)
            if (sounding_[at]) send({std::uint8_t(0x90 | at / 128), std::uint8_t(at % 128), 0});
        sounding_.reset();
    }

    // The mouse's note becomes this one, or none.
    void move_to(int key) {
        if (key == mouse_) return;
        if (mouse_ >= 0) end(mouse_);
        mouse_ = key;
        if (key >= 0) begin(key);
    }
    void mouse(const std::string& what, int over) {
        if (what == "press" && mode_ == normal) {
            mouse_held_ = true;
            move_to(over);
        } else if (what == "drag" && mode_ == normal && mouse_held_) {
            move_to(over);
        } else if (what == "release" && (mode_ == normal || mouse_held_)) {
            mouse_held_ = false;
            if (mode_ != normal) over = -1;
            if (over != mouse_) move_to(-1);
            mouse_ = -1;
            if (over >= 0) end(over);
        }
    }

    void raise_all(bool space_stays) {
        for (const int key : std::set<int>(held_))
            if (!space_stays || key != ' ') {
                held_.erase(key);
                turn(key, false);
            }
    }
    void turn(int key, bool down) {
        if (key >= 256) return special(key - 256, down);
        const int value = quenvarel::key_map[std::size_t(key)], played = (base_ + value) & 127;
        if (value >= 0) {
            if (down)
                begin(played);
            else if (!keeps_)
                end(played);
        } else if (key == ' ' && down) {
            keeps_ = true;
        } else if (key == ' ') {
            send({std::uint8_t(0xB0 | channel_), 123, 0});
            for (std::size_t at = 0; at < 128; ++at)
                sounding_.reset(std::size_t(channel_) * 128 + at);
            silence();
            pressed.reset();
            keeps_ = false;
        } else if (key == '\t' && !down && mode_ == camera) {
            mode_ = normal;
        } else if (down && (key == '+' || key == '*')) {
            velocity_ = (velocity_ + (key == '*' ? 1 : -1)) & 127;
        } else if (down && key == 127) {
            channel_ = (channel_ - 1) & 15;
        }
    }
    void special(int key, bool down) {
        const auto mode = key == 112 ? shift : key == 117 ? camera : normal;
        if (mode != normal) {
            if (down && mode_ == normal) mode_ = mode;
            if (!down && mode_ == mode) mode_ = normal;
            return;
        }
        if (!down) return;
        const int step = mode_ == shift ? -1 : 1;
        if (key <= 3) {
            auto& value = reverb_[key - 1];
            value = std::uint8_t((value + step) & (key == 1 ? 3 : 7));
            roland({0x10, 0x00, 0x01, reverb_[0], reverb_[1], reverb_[2]});
        } else if (key == 4) {
            reverb_send_ = (reverb_send_ + step) & 127;
            send({std::uint8_t(0xB0 | channel_), 91, std::uint8_t(reverb_send_)});
        } else if (key == 104 || key == 105) {
            base_ = (base_ + (key == 104 ? 12 : -12)) & 127;
        } else if (key == 106 || key == 107) {
            program_ = (program_ + (key == 106 ? 1 : -1)) & 127;
            send({std::uint8_t(0xC0 | channel_), std::uint8_t(program_)});
        } else if (key == 108) {
            channel_ = (channel_ + 1) & 15;
        }
    }

    int channel_, base_, velocity_, program_, mouse_ = -1, mode_ = normal, reverb_send_ = 0;
    std::uint8_t reverb_[3] = {};
    bool mouse_held_ = false, keeps_ = false;
    std::set<int> held_;
    std::bitset<2048> sounding_; // by channel, then note
    std::string sent_;
};

// What is wrong; nothing when all is as the model has it.
std::string broken_by(const test_support::player_settings& settings, const events& all) {
    test_support::player_driver instrument(settings);
    instrument.sent();
    model expected(settings);
    for (const std::string& word : all) {
        instrument.play(word);
        const std::string sent = instrument.sent(), should = expected.play(word);
        if (sent != should) return word + " sends \"" + sent + "\", not \"" + should + '"';
        for (int key = 0; key < 128; ++key)
            if (instrument.player().scene().pressed(key) != expected.pressed[std::size_t(key)])
                return word + " leaves key " + std::to_string(key) +
                       (expected.pressed[std::size_t(key)] ? " up" : " down");
    }
    instrument.end();
    const std::string sent = instrument.sent(), should = expected.end();
    return sent == should ? "" : "the end sends \"" + sent + "\", not \"" + should + '"';
}

} // namespace

// Three bytes are the settings at the start, each further one is an event.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 3) return 0;
    const test_support::player_settings settings{.channel = static_cast<signed char>(data[0] & 15),
                                                 .program = static_cast<signed char>(data[0] >> 4),
                                                 .notebase = static_cast<signed char>(data[1] & 127),
                                                 .velocity = static_cast<signed char>(data[2] & 127)};
    events all;
    for (std::size_t i = 3; i < std::min<std::size_t>(size, 203); ++i)
        all.emplace_back(words[data[i] % std::size(words)]);
    std::string wrong = broken_by(settings, all);
    if (wrong.empty()) return 0;
    for (std::size_t i = all.size(); i-- > 0;) {
        events fewer = all;
        fewer.erase(fewer.begin() + std::ptrdiff_t(i));
        if (std::string still = broken_by(settings, fewer); !still.empty()) {
            all = fewer;
            wrong = still;
            i = std::min(i + 1, all.size());
        }
    }
    std::string story = "channel " + std::to_string(settings.channel) + ", note base " +
                        std::to_string(settings.notebase) + ", velocity " +
                        std::to_string(settings.velocity) + ":";
    for (const std::string& word : all)
        story += ' ' + word;
    fuzz::demand(false, (story + ": " + wrong).c_str());
    return 0;
}
