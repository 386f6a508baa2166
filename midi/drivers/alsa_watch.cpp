#include "midi/drivers/alsa_watch.h"

#include "midi/drivers/quiet.h"

#include <alsa/asoundlib.h>
#include <cctype>
#include <optional>
#include <poll.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace midi {

namespace {

// Calls use(client, port) for every port of the sequencer until one is the right one.
template <class Use>
std::optional<snd_seq_addr_t> find_port(snd_seq_t* sequencer, Use use) {
    snd_seq_client_info_t* client;
    snd_seq_port_info_t* port;
    snd_seq_client_info_alloca(&client);
    snd_seq_port_info_alloca(&port);
    snd_seq_client_info_set_client(client, -1);
    while (snd_seq_query_next_client(sequencer, client) == 0) {
        snd_seq_port_info_set_client(port, snd_seq_client_info_get_client(client));
        snd_seq_port_info_set_port(port, -1);
        while (snd_seq_query_next_port(sequencer, port) == 0)
            if (use(client, port)) return *snd_seq_port_info_get_addr(port);
    }
    return std::nullopt;
}

std::string name_of(const snd_seq_client_info_t* client, const snd_seq_port_info_t* port) {
    return std::string(snd_seq_client_info_get_name(const_cast<snd_seq_client_info_t*>(client))) + ":" +
           snd_seq_port_info_get_name(port);
}

} // namespace

std::string without_alsa_address(const std::string& name) {
    const std::size_t space = name.rfind(' ');
    const std::size_t colon = space == name.npos ? name.npos : name.find(':', space);
    if (colon == name.npos || colon == space + 1 || colon + 1 == name.size()) return name;
    for (std::size_t i = space + 1; i < name.size(); ++i)
        if (i != colon && !std::isdigit(static_cast<unsigned char>(name[i]))) return name;
    return name.substr(0, space);
}

std::unique_ptr<alsa_watch> alsa_watch::start(peer_direction peers, const char* port, const std::string& peer,
                                              std::function<void(input_absence)> changed) {
    quiet_sound_libraries();
    std::unique_ptr<alsa_watch> watch(new alsa_watch);
    if (snd_seq_open(&watch->client_, "default", SND_SEQ_OPEN_DUPLEX, SND_SEQ_NONBLOCK) != 0) return nullptr;
    snd_seq_set_client_name(watch->client_, "quenvarel-watch");
    const int announcements = snd_seq_create_simple_port(watch->client_, "announcements",
                                                         SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_NO_EXPORT,
                                                         SND_SEQ_PORT_TYPE_APPLICATION);
    if (announcements < 0 ||
        snd_seq_connect_from(watch->client_, announcements, SND_SEQ_CLIENT_SYSTEM,
                             SND_SEQ_PORT_SYSTEM_ANNOUNCE) != 0 ||
        pipe(watch->stop_) != 0)
        return nullptr;
    watch->peers_ = peers;
    watch->port_ = port;
    watch->peer_ = without_alsa_address(peer);
    watch->changed_ = std::move(changed);
    try {
        watch->thread_ = std::thread([self = watch.get()] { self->run(); });
    } catch (const std::system_error&) { // the connection works without a watch
        return nullptr;
    }
    return watch;
}

alsa_watch::~alsa_watch() {
    if (stop_[1] >= 0) ::close(stop_[1]);
    if (thread_.joinable()) thread_.join();
    if (stop_[0] >= 0) ::close(stop_[0]);
    if (client_) snd_seq_close(client_);
}

void alsa_watch::run() {
    std::vector<pollfd> waiting(1 + snd_seq_poll_descriptors_count(client_, POLLIN));
    waiting[0] = {stop_[0], POLLIN, 0};
    snd_seq_poll_descriptors(client_, &waiting[1], static_cast<unsigned>(waiting.size() - 1), POLLIN);
    while (poll(waiting.data(), waiting.size(), -1) < 0 || waiting[0].revents == 0) {
        snd_seq_event_t* event;
        int result;
        // Announcements that did not fit into the queue count as one.
        while ((result = snd_seq_event_input(client_, &event)) >= 0 || result == -ENOSPC) {
        }
        look_around();
    }
}

void alsa_watch::look_around() {
    const auto peer = find_port(client_, [this](const auto* client, const auto* port) {
        const unsigned wanted =
            peers_ == peer_direction::to_peer ? SND_SEQ_PORT_CAP_SUBS_WRITE : SND_SEQ_PORT_CAP_SUBS_READ;
        return name_of(client, port) == peer_ && snd_seq_port_info_get_capability(port) & wanted;
    });
    const bool is_there = peer && (is_there_ || connect(*peer));
    if (is_there_.exchange(is_there) != is_there)
        changed_(is_there ? input_absence::none : input_absence::device);
}

bool alsa_watch::connect(const snd_seq_addr_t& peer) {
    const auto own = find_port(client_, [this](const auto* client, const auto* port) {
        return snd_seq_client_info_get_pid(client) == getpid() && port_ == snd_seq_port_info_get_name(port);
    });
    if (!own) return false;
    snd_seq_port_subscribe_t* subscription;
    snd_seq_port_subscribe_alloca(&subscription);
    const bool to_peer = peers_ == peer_direction::to_peer;
    snd_seq_port_subscribe_set_sender(subscription, to_peer ? &*own : &peer);
    snd_seq_port_subscribe_set_dest(subscription, to_peer ? &peer : &*own);
    const int result = snd_seq_subscribe_port(client_, subscription);
    return result == 0 || result == -EBUSY; // somebody else was faster
}

} // namespace midi
