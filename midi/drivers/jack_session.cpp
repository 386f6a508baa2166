#include "midi/drivers/jack_session.h"

#include "midi/drivers/quiet.h"

#include <algorithm>
#include <jack/jack.h>
#include <utility>
#include <vector>

namespace midi {

namespace {

std::vector<jack_session*>& sessions() {
    static auto& all = *new std::vector<jack_session*>;
    return all;
}

} // namespace

std::unique_ptr<jack_session> jack_session::open(const char* name, std::function<void()> ended) {
    quiet_sound_libraries();
    if (std::ranges::any_of(sessions(), [](const jack_session* s) { return s->has_ended(); })) end_all();
    std::unique_ptr<jack_session> session(new jack_session);
    session->client_ = jack_client_open(name, JackNoStartServer, nullptr);
    if (!session->client_) return nullptr;
    session->ended_ = std::move(ended);
    jack_on_shutdown(
        session->client_,
        [](void* self) {
            uninterrupted([session = static_cast<jack_session*>(self)] {
                session->has_ended_ = true;
                if (session->ended_) session->ended_();
            });
        },
        session.get());
    sessions().push_back(session.get());
    return session;
}

bool jack_session::is_own(const std::string& port) {
    return std::ranges::any_of(sessions(), [&](const jack_session* s) {
        return s->client_ && !s->has_ended() &&
               port.starts_with(std::string(jack_get_client_name(s->client_)) + ':');
    });
}

jack_session::~jack_session() {
    std::erase(sessions(), this);
    close();
    if (has_ended_) end_all();
}

// They have all had the same server, and perhaps not all have heard of its end.
void jack_session::end_all() {
    for (jack_session* session : std::exchange(sessions(), {})) {
        session->close();
        if (!session->has_ended_.exchange(true) && session->ended_) session->ended_();
    }
}

void jack_session::close() {
    if (client_) jack_client_close(std::exchange(client_, nullptr));
}

} // namespace midi
