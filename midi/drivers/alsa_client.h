#pragma once
// Shared by ALSA's inputs and outputs: an RtMidi client that writes nothing, and the search for ports.

#include "midi/driver.h"
#include "midi/drivers/quiet.h"

#include <RtMidi.h>
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace midi {

// An RtMidiOut or RtMidiIn. Its failures neither throw nor print; they are kept.
template <class Client>
class alsa_client {
public:
    // Null when ALSA's sequencer is not there.
    static std::unique_ptr<alsa_client> make() {
        quiet_sound_libraries();
        const quiet_errors quiet;
        try {
            return std::unique_ptr<alsa_client>(new alsa_client);
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

    // Opens a port under a name of our own and connects it; an empty peer leaves that to others.
    result_t open(const std::string& peer, const char* own_name) {
        if (peer.empty()) return checked([&] { client_.openVirtualPort(own_name); });
        const std::vector<std::string> names = port_names();
        const auto found = std::find(names.begin(), names.end(), peer);
        if (found == names.end()) return 1;
        return checked([&] { client_.openPort(static_cast<unsigned>(found - names.begin()), own_name); });
    }

    // One more than RtMidi's type of what goes wrong while the function runs.
    template <class Function>
    result_t checked(Function function) {
        error_ = no_error;
        function();
        return error_;
    }

private:
    alsa_client() : client_(RtMidi::LINUX_ALSA, "quenvarel") {
        client_.setErrorCallback(
            [](RtMidiError::Type type, const std::string&, void* self) {
                static_cast<alsa_client*>(self)->error_ = static_cast<result_t>(type) + 1;
            },
            this);
    }

    Client client_;
    result_t error_ = no_error;
};

} // namespace midi
