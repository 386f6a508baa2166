#pragma once
// What is asked of JACK besides playing: whether its server runs, which ports there are, and when it has
// ended. None of these waits longer than jack_patience.

#include "midi/drivers/jack_session.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace midi {

// True when a server runs and answers.
bool jack_server_runs();

// The MIDI ports that can be sent to, or that can be received from; nothing when no server runs. One that
// does not answer is reported in one line, once until it answers again.
enum class jack_direction { to_port, from_port };
std::optional<std::vector<std::string>> jack_midi_ports(jack_direction direction);

// Lets something be tried again once a second and not more often, whenever there is an occasion.
class seldom {
public:
    bool due() {
        const auto now = std::chrono::steady_clock::now();
        if (now < next_) return false;
        next_ = now + std::chrono::seconds(1);
        return true;
    }

private:
    std::chrono::steady_clock::time_point next_{};
};

// Notices when the server ends. Its client takes no part in the server's cycles.
class jack_watch {
public:
    // Null when no server runs or answers.
    static std::unique_ptr<jack_watch> start();
    ~jack_watch();
    jack_watch(const jack_watch&) = delete;
    jack_watch& operator=(const jack_watch&) = delete;

    // True once the server has ended.
    bool gone() const { return session_->has_ended(); }

private:
    explicit jack_watch(std::shared_ptr<jack_session> session) : session_(std::move(session)) {}

    std::shared_ptr<jack_session> session_;
};

} // namespace midi
