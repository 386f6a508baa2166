#pragma once
// Reconnects a port of ours when its peer on ALSA's sequencer disappears and returns.

#include "midi/driver.h"
#include "midi/drivers/jack_list.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>

typedef struct _snd_seq snd_seq_t; // ALSA's own names
typedef struct snd_seq_addr snd_seq_addr_t;

namespace midi {

// A port's name as RtMidi makes it, without the numbers at its end, which change when a device is plugged in
// again: "Keys:MIDI 1 24:0" is "Keys:MIDI 1".
std::string without_alsa_address(const std::string& name);

// Follows the sequencer's announcements on a thread of its own.
class alsa_watch {
public:
    // Null when there is no sequencer. The port is the one of this process that has the given name, and is
    // connected with the peer already. The function is called on the watch's thread.
    static std::unique_ptr<alsa_watch> start(peer_direction peers, const char* port, const std::string& peer,
                                             std::function<void(input_absence)> changed);
    ~alsa_watch();
    alsa_watch(const alsa_watch&) = delete;
    alsa_watch& operator=(const alsa_watch&) = delete;

    // Whether the peer is there.
    bool is_there() const { return is_there_; }

private:
    alsa_watch() = default;
    void run();
    void look_around();
    bool connect(const snd_seq_addr_t& peer);

    snd_seq_t* client_ = nullptr;
    int stop_[2] = {-1, -1}; // a pipe: closed at its writing end when the thread is to end
    peer_direction peers_ = peer_direction::to_peer;
    std::string port_, peer_;
    std::function<void(input_absence)> changed_;
    std::atomic<bool> is_there_{true};
    std::thread thread_;
};

} // namespace midi
