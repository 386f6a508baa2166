#include "midi/drivers/jack_list.h"

#include "libutils/report.h"
#include "midi/drivers/jack_session.h"
#include "midi/drivers/jack_thread.h"

#include <jack/jack.h>

namespace midi {

namespace {

// Outer nothing: no answer. Inner nothing: no server.
std::optional<std::optional<std::vector<std::string>>> ask_for_ports(peer_direction direction) {
    return ask_jack([direction]() -> std::optional<std::vector<std::string>> {
        const auto session = jack_session::open("quenvarel-list");
        if (!session) return std::nullopt;
        const unsigned long flag = direction == peer_direction::to_peer ? JackPortIsInput : JackPortIsOutput;
        const char** names = jack_get_ports(session->client(), nullptr, JACK_DEFAULT_MIDI_TYPE, flag);
        std::vector<std::string> ports;
        for (const char** name = names; name && *name; ++name)
            if (!jack_session::is_own(*name)) ports.emplace_back(*name);
        jack_free(names);
        return ports;
    });
}

} // namespace

std::optional<std::vector<std::string>> jack_ports(peer_direction direction) {
    static bool silent = false;
    auto answer = ask_for_ports(direction);
    if (!answer && !silent) libutils::report("JACK's server does not answer; its ports are left out.");
    silent = !answer;
    return answer ? std::move(*answer) : std::nullopt;
}

} // namespace midi
