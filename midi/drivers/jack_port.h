#pragma once
// A JACK client with one MIDI port, "quenvarel:out" or "quenvarel:in". It follows the port that it was opened
// for: when that port returns under its name, or the server restarts, they are connected again within a
// second. A client that a running server throws out joins again. An input is not left connected with an
// output of this process.
//
// Three kinds of threads meet here. The owner opens, uses and leaves the port and never calls JACK itself.
// JACK's thread (jack_thread.h) makes all calls that may block. JACK's own threads call back: the realtime
// one once in each cycle, which neither waits nor allocates, and one with notices, which only wakes JACK's
// thread.

#include "midi/driver.h"
#include "midi/drivers/jack_list.h"
#include "midi/drivers/jack_session.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

struct _jack_port; // JACK's own name for its port type

namespace midi {

class jack_port : public std::enable_shared_from_this<jack_port> {
public:
    virtual ~jack_port() = default;
    jack_port(const jack_port&) = delete;
    jack_port& operator=(const jack_port&) = delete;

    // Owner. False when no server answers, or what the port is for is not there.
    bool open();
    // Owner. Nothing is called back any more. The client is closed, or left alone when that takes too long.
    void leave();

protected:
    // The direction is that of what the port is connected with; an empty name leaves it to others to connect
    // it.
    jack_port(peer_direction peers, std::string peer) : peers_(peers), peer_(std::move(peer)) {}

    using clock = std::chrono::steady_clock;

    // Realtime thread, in each cycle: the port's buffer, and the time since the cycle before.
    virtual void cycle(void* buffer, clock::duration since) = 0;
    // JACK's thread: what the port is for has gone or is back, or a loop has been cut.
    virtual void peer_changed(input_absence) {}

    bool is_virtual() const { return peer_.empty(); }
    bool is_in_server() const { return is_in_server_; }
    // In the last cycle.
    bool is_connected() const { return connected_; }
    // For the first cycle. On a busy machine it may be one that the other end does not hear yet.
    bool is_connecting() const { return connecting_; }
    // Whether the server's cycles have stopped.
    bool stands_still() const { return since_last_cycle() > longest_gap; }
    // Finds out why cycles have stopped, and joins the server again if it lives.
    void look_after_cycles();
    std::uint32_t cycles() const { return cycles_; }

    // Longer than two of the longest cycles, 8192 frames at 44.1 kHz.
    static constexpr std::chrono::milliseconds longest_gap{500};

private:
    static int process(std::uint32_t frames, void* self);
    static void notice(void* self);
    clock::duration since_last_cycle() const {
        return clock::now().time_since_epoch() - clock::duration(last_cycle_);
    }

    // On JACK's thread.
    void wake();
    void look_around();
    bool join();
    void drop_session();
    void look_for_peer();
    bool cut_loop();
    void tell(input_absence absence);
    bool connects();

    const peer_direction peers_;
    const std::string peer_;
    std::unique_ptr<jack_session> session_;
    _jack_port* port_ = nullptr;
    bool peer_was_there_ = false;
    input_absence told_ = input_absence::none;

    std::atomic<bool> open_{false}, tells_{false}, in_process_{false}, waking_{false};
    std::atomic<bool> is_in_server_{false}, a_port_left_{false}, cycles_stopped_{false};
    std::atomic<bool> connected_{false}, connecting_{false};
    std::atomic<std::uint32_t> cycles_{0};
    std::atomic<clock::rep> last_cycle_{0};
};

} // namespace midi
