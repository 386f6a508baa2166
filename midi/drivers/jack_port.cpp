#include "midi/drivers/jack_port.h"

#include "midi/drivers/jack_thread.h"

#include <cerrno>
#include <jack/jack.h>
#include <thread>
#include <utility>

namespace midi {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds retry{300};        // while there is no server
constexpr milliseconds closing_time{400}; // of which a server that runs needs a tenth

// False when the condition does not come true within two of the longest cycles.
template <class Condition>
bool wait_until(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + milliseconds(500);
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end) return false;
        std::this_thread::sleep_for(milliseconds(1));
    }
    return true;
}

jack_port* port(void* self) {
    return static_cast<jack_port*>(self);
}

} // namespace

bool jack_port::open() {
    open_ = true;
    const auto opened = ask_jack(
        [self = shared_from_this()] { return self->join() && (self->is_virtual() || self->connected_); },
        patience_with_a_living_server);
    if (!opened || !*opened) leave();
    tells_ = open_.load();
    return open_;
}

void jack_port::leave() {
    if (!open_.exchange(false)) return;
    while (in_process_)
        std::this_thread::yield();
    run_on_jack_thread([self = shared_from_this()] { self->drop_session(); }, closing_time,
                       when_late::run_later);
}

void jack_port::look_after_cycles() {
    if (!cycles_stopped_.exchange(true)) wake();
}

int jack_port::process(std::uint32_t frames, void* self) {
    uninterrupted([&p = *port(self), frames] {
        p.in_process_ = true;
        if (p.open_) {
            const clock::duration since = p.since_last_cycle();
            p.last_cycle_ = clock::now().time_since_epoch().count();
            const bool is_new = !p.connected_ && !p.connecting_;
            const bool is_connected = jack_port_connected(p.port_) > 0;
            p.connecting_ = is_connected && is_new;
            p.connected_ = is_connected && !is_new;
            p.cycle(jack_port_get_buffer(p.port_, frames), since);
            ++p.cycles_;
        }
        p.in_process_ = false;
    });
    return 0;
}

void jack_port::notice(void* self) {
    uninterrupted([&p = *port(self)] { p.wake(); });
}

void jack_port::wake() {
    if (waking_.exchange(true)) return;
    post_to_jack_thread([weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->look_around();
    });
}

void jack_port::look_around() {
    waking_ = false;
    if (!open_) return;
    if (cycles_stopped_ && session_ && !session_->has_ended()) {
        // Waits here while the server stands still.
        const auto asking = jack_session::open("quenvarel-list");
        if (asking && !wait_until([&] { return !stands_still(); })) session_->end();
    }
    cycles_stopped_ = false;
    if (session_ && session_->has_ended()) {
        tell(input_absence::service);
        drop_session();
    }
    if (session_ || join())
        look_for_peer();
    else
        post_to_jack_thread(
            [weak = weak_from_this()] {
                if (const auto self = weak.lock()) self->look_around();
            },
            retry);
}

bool jack_port::join() {
    session_ = jack_session::open("quenvarel", [this] {
        is_in_server_ = false;
        wake();
    });
    if (!session_) {
        tell(input_absence::service);
        return false;
    }
    jack_client_t* const client = session_->client();
    peer_was_there_ = false;
    jack_set_port_registration_callback(
        client,
        [](jack_port_id_t, int registered, void* self) {
            if (!registered) port(self)->a_port_left_ = true;
            notice(self);
        },
        this);
    jack_set_graph_order_callback(
        client,
        [](void* self) {
            notice(self);
            return 0;
        },
        this);
    jack_set_process_callback(client, process, this);
    const bool out = peers_ == peer_direction::to_peer;
    port_ = jack_port_register(client, out ? "out" : "in", JACK_DEFAULT_MIDI_TYPE,
                               out ? JackPortIsOutput : JackPortIsInput, 0);
    const std::uint32_t before = cycles_;
    if (!port_ || jack_activate(client) != 0 ||
        !wait_until([&] { return cycles_ != before || session_->has_ended(); })) {
        drop_session();
        return false;
    }
    is_in_server_ = !session_->has_ended();
    look_for_peer();
    return true;
}

void jack_port::drop_session() {
    is_in_server_ = connected_ = connecting_ = false;
    session_.reset();
}

void jack_port::look_for_peer() {
    if (cut_loop()) tell(input_absence::loop);
    if (is_virtual()) return tell(input_absence::none);
    const bool is_there = jack_port_by_name(session_->client(), peer_.c_str()) != nullptr;
    const bool left = a_port_left_.exchange(false);
    // One that somebody else has disconnected stays so.
    const bool came =
        is_there && (!peer_was_there_ || (left && !jack_port_connected_to(port_, peer_.c_str())));
    peer_was_there_ = is_there && (!came || connects());
    tell(is_there ? input_absence::none : input_absence::device);
}

bool jack_port::cut_loop() {
    if (peers_ == peer_direction::to_peer) return false;
    const char** const senders = jack_port_get_connections(port_);
    bool any = false;
    for (const char** sender = senders; sender && *sender; ++sender)
        if (jack_session::is_own(*sender))
            any = jack_disconnect(session_->client(), *sender, jack_port_name(port_)) == 0 || any;
    jack_free(senders);
    return any;
}

bool jack_port::connects() {
    const char* const own = jack_port_name(port_);
    const bool out = peers_ == peer_direction::to_peer;
    const int result = jack_connect(session_->client(), out ? own : peer_.c_str(), out ? peer_.c_str() : own);
    if (result != 0 && result != EEXIST) return false; // a client that is not active yet, perhaps
    // It is used from one of the next cycles on.
    return wait_until([&] {
               return session_->has_ended() || (connected_ && jack_port_connected_to(port_, peer_.c_str()));
           }) &&
           !session_->has_ended();
}

void jack_port::tell(input_absence absence) {
    if (std::exchange(told_, absence) != absence && tells_) peer_changed(absence);
}

} // namespace midi
