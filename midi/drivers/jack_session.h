#pragma once
// A client of JACK. All of this is called on JACK's thread, except where it says otherwise.

#include <atomic>
#include <functional>
#include <memory>
#include <pthread.h>
#include <string>

struct _jack_client; // JACK's own name for its client type

namespace midi {

// JACK ends its own threads wherever they are when a client is closed. In a callback, what is begun is
// finished first.
template <class Function>
void uninterrupted(Function function) {
    int before;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
    function();
    pthread_setcancelstate(before, &before);
}

class jack_session {
public:
    // Null when no server runs; never starts one. JACK calls ended on a thread of its own, which must not
    // call JACK, when the server has ended or has thrown the client out.
    static std::unique_ptr<jack_session> open(const char* name, std::function<void()> ended = nullptr);
    ~jack_session();
    jack_session(const jack_session&) = delete;
    jack_session& operator=(const jack_session&) = delete;

    // Null after it has ended and another has been opened: JACK's library crashes when a client is opened
    // while one of a server that has gone is still there, so that one is closed first.
    _jack_client* client() const { return client_; }
    // Whether a port, by its full name, belongs to a session of this process.
    static bool is_own(const std::string& port);
    // On any thread.
    bool has_ended() const { return has_ended_; }
    void end() { has_ended_ = true; }

private:
    jack_session() = default;
    static void end_all();
    void close();

    _jack_client* client_ = nullptr;
    std::atomic<bool> has_ended_{false};
    std::function<void()> ended_;
};

} // namespace midi
