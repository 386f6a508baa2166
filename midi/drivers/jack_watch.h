#pragma once
// What is asked of JACK directly: whether its server runs, which ports there are, and whether it still takes
// the messages of a client that cannot tell by itself.

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct _jack_client; // JACK's own name for its client type

namespace midi {

// True when a server runs. Never starts one.
bool jack_server_runs();

// The MIDI ports that can be sent to, or that can be received from; nothing when no server runs.
enum class jack_direction { to_port, from_port };
std::optional<std::vector<std::string>> jack_midi_ports(jack_direction direction);

// Lets something be tried again once a second and not more often, whenever there is an occasion.
class seldom {
public:
    bool due() {
        const auto now = std::chrono::steady_clock::now();
        if (now < next_) return false;
        next_ = now + std::chrono::seconds(1);
        return true;
    }

private:
    std::chrono::steady_clock::time_point next_{};
};

// A client of its own that counts the server's cycles. Used from one thread.
class jack_watch {
public:
    // Null when no server runs.
    static std::unique_ptr<jack_watch> start();
    ~jack_watch();
    jack_watch(const jack_watch&) = delete;
    jack_watch& operator=(const jack_watch&) = delete;

    // True once the server has ended.
    bool gone() const { return gone_; }
    // Finds the sender's port, which has appeared under this name since the watch was started and must keep
    // existing; false when it is not there. Cycles are counted from here on. Waits a little: other clients
    // see it later than the one that made it.
    bool find_port(const std::string& name);
    // Connects the sender's port to the one called peer; false when there is no such port. Waits a little for
    // the connection to be used.
    bool connect(const std::string& peer);
    // Asks whether so many bytes may be given to a sender that blocks for ever once 16 KB wait for a server
    // that has stopped. Waits for the server's next cycles when half of that may be waiting; false when they
    // do not come, the server is gone, or the port is.
    bool admit(std::size_t bytes);

private:
    jack_watch() = default;
    static int cycle(std::uint32_t frames, void* watch);
    static void shut_down(void* watch);
    bool wait_for_cycles();
    bool see_port(const std::string& name);

    _jack_client* client_ = nullptr;
    std::vector<std::string> ports_before_; // the MIDI sources when the watch was started
    std::string port_;
    std::atomic<std::uint32_t> cycles_{0};
    std::atomic<bool> gone_{false};
    std::uint32_t cycles_before_ = 0; // when waiting_ was last known to be 0
    std::size_t waiting_ = 0;         // bytes admitted since, an upper limit of what may wait
    std::size_t unchecked_ = 0;       // bytes admitted since the port was last seen
    bool stalled_ = false;
};

} // namespace midi
