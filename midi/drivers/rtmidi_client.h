#pragma once
// What outputs and inputs over RtMidi have in common: making a quiet client of one API, and finding ports.

#include "midi/driver.h"
#include "midi/drivers/jack_watch.h"
#include "midi/drivers/quiet.h"
#include "midi/drivers/rtmidi.h"

#include <RtMidi.h>
#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace midi {

constexpr result_t rtmidi_failed = 1; // for what RtMidi reports in no other way

// An RtMidiOut or RtMidiIn of one API. Its failures neither throw nor print; they are kept.
template <class Client>
class rtmidi_client {
public:
    // Null when ALSA's sequencer is not there. For JACK, its server must run: RtMidi makes a client that
    // looks as if there were just no ports without it.
    static std::unique_ptr<rtmidi_client> make(rtmidi_api api) {
        quiet_sound_libraries();
        const RtMidi::Api wanted = api == rtmidi_api::jack ? RtMidi::UNIX_JACK : RtMidi::LINUX_ALSA;
        std::vector<RtMidi::Api> compiled;
        RtMidi::getCompiledApi(compiled);
        if (std::find(compiled.begin(), compiled.end(), wanted) == compiled.end()) return nullptr;
        const quiet_errors quiet;
        try {
            return std::unique_ptr<rtmidi_client>(new rtmidi_client(wanted));
        } catch (const RtMidiError&) {
            return nullptr;
        }
    }

    Client& port() { return client_; }

    std::vector<std::string> port_names() {
        std::vector<std::string> names(client_.getPortCount());
        for (unsigned i = 0; i < names.size(); ++i)
            names[i] = client_.getPortName(i);
        return names;
    }

    // Opens the port under a name of our own.
    result_t open(const rtmidi_port& port, const std::string& own_name) {
        if (port.is_virtual) return checked([&] { client_.openVirtualPort(own_name); });
        const std::vector<std::string> names = port_names();
        const auto found = std::find(names.begin(), names.end(), port.name);
        if (found == names.end()) return rtmidi_failed;
        return checked([&] { client_.openPort(static_cast<unsigned>(found - names.begin()), own_name); });
    }

    // The code of what goes wrong while the function runs.
    template <class Function>
    result_t checked(Function function) {
        error_ = no_error;
        function();
        return error_;
    }

private:
    explicit rtmidi_client(RtMidi::Api api) : client_(api, "quenvarel") {
        client_.setErrorCallback(
            [](RtMidiError::Type type, const std::string&, void* self) {
                static_cast<rtmidi_client*>(self)->error_ = static_cast<result_t>(type) + 1;
            },
            this);
    }

    Client client_;
    result_t error_ = no_error;
};

// All ports of one direction.
template <class Client>
std::vector<rtmidi_port> rtmidi_ports(jack_direction direction) {
    std::vector<rtmidi_port> ports;
    std::optional<rtmidi_api> virtual_api;
    const auto add = [&](rtmidi_api api, const std::vector<std::string>& names) {
        if (!virtual_api) virtual_api = api;
        for (const std::string& name : names)
            ports.push_back({api, false, name});
    };
    if (const auto names = jack_midi_ports(direction)) add(rtmidi_api::jack, *names);
    if (const auto alsa = rtmidi_client<Client>::make(rtmidi_api::alsa))
        add(rtmidi_api::alsa, alsa->port_names());
    if (virtual_api) ports.push_back({*virtual_api, true, "Virtual port"});
    return ports;
}

} // namespace midi
