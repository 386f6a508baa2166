#include "midi/drivers/jack_watch.h"

#include "libutils/report.h"
#include "midi/drivers/jack_thread.h"

#include <jack/jack.h>

namespace midi {

namespace {

// Outer nothing: no answer. Inner nothing: no server.
std::optional<std::optional<std::vector<std::string>>> ask_for_ports(jack_direction direction) {
    return ask_jack([direction]() -> std::optional<std::vector<std::string>> {
        const auto session = jack_session::open("quenvarel-list");
        if (!session) return std::nullopt;
        const unsigned long flag = direction == jack_direction::to_port ? JackPortIsInput : JackPortIsOutput;
        const char** names = jack_get_ports(session->client(), nullptr, JACK_DEFAULT_MIDI_TYPE, flag);
        std::vector<std::string> ports;
        for (const char** name = names; name && *name; ++name)
            ports.emplace_back(*name);
        jack_free(names);
        return ports;
    });
}

} // namespace

bool jack_server_runs() {
    const auto answer = ask_for_ports(jack_direction::to_port);
    return answer && *answer;
}

std::optional<std::vector<std::string>> jack_midi_ports(jack_direction direction) {
    static bool silent = false;
    auto answer = ask_for_ports(direction);
    if (!answer && !silent) libutils::report("JACK's server does not answer; its ports are left out.");
    silent = !answer;
    return answer ? std::move(*answer) : std::nullopt;
}

std::unique_ptr<jack_watch> jack_watch::start() {
    const auto session =
        ask_jack([] { return std::shared_ptr<jack_session>(jack_session::open("quenvarel-watch")); });
    if (!session || !*session) return nullptr;
    return std::unique_ptr<jack_watch>(new jack_watch(*session));
}

jack_watch::~jack_watch() {
    post_to_jack_thread([session = std::move(session_)] {});
}

} // namespace midi
