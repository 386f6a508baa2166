#pragma once
// The MIDI ports of JACK.

#include <optional>
#include <string>
#include <vector>

namespace midi {

// Which way a port of ours sends: to its peer, or from it.
enum class peer_direction { to_peer, from_peer };

// The ports of others that can be sent to, or received from; nothing when no server runs. A server that does
// not answer within jack_patience is passed over and reported in one line, once until it answers again.
std::optional<std::vector<std::string>> jack_ports(peer_direction direction);

} // namespace midi
