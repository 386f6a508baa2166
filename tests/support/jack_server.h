#pragma once
// A JACK server without hardware, for one test. Linux only.

#include "support/process.h"
#include "support/temporary_directory.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace test_support {

// While it lives, JACK clients of this process and of those that it starts use this server and no other.
class jack_server {
public:
    // A patient server waits for its clients in each cycle: on a busy machine, none goes by without one of
    // them. A hasty one, which most people have, does not.
    static constexpr char patient[] = "-S", hasty[] = "-R";

    // frames: in one of its cycles, at 48 kHz.
    explicit jack_server(int playback_ports = 0, int frames = 512, const char* mode = hasty)
        : playback_ports_(playback_ports),
          frames_(frames),
          mode_(mode) {
        static int made = 0;
        name_ = "quenvarel-test-" + std::to_string(getpid()) + "-" + std::to_string(made++);
        setenv("JACK_DEFAULT_SERVER", name_.c_str(), 1);
        setenv("JACK_NO_START_SERVER", "1", 1);
        setenv("JACK_NO_AUDIO_RESERVATION", "1", 1);
        start();
    }
    ~jack_server() {
        stop();
        // JACK holds the places of servers that died, and has eight on a machine. One of that name frees its
        // own.
        if (!ended_well_) {
            start();
            stop();
        }
        for (const auto& left_behind : files_of("")) // by clients that outlived the server
            std::filesystem::remove(left_behind);
    }
    jack_server(const jack_server&) = delete;
    jack_server& operator=(const jack_server&) = delete;

    bool runs() const { return runs_; }
    // Again, under the same name.
    void start() {
        // Into a file: it would wait, with all of its clients, for someone to empty a full pipe. At its end
        // it writes to clients that may have gone.
        const std::string log = directory_.file("log");
        server_ = std::make_unique<process>(std::vector<std::string>{
            "sh", "-c", "trap '' PIPE; exec \"$@\" > \"$0\" 2>&1", log, "jackd", mode_, "-n", name_, "-d",
            "dummy", "-r", "48000", "-p", std::to_string(frames_), "-C", "0", "-P",
            std::to_string(playback_ports_)});
        runs_ = until([] { return run({"jack_lsp"}).exit_code == 0; });
        if (!runs_) std::cerr << "jackd does not start: " << read_file(log);
    }
    // Stops its cycles, and lets them go on.
    void freeze() { server_->send_signal(SIGSTOP); }
    void thaw() { server_->send_signal(SIGCONT); }
    void stop(int signal = SIGTERM) {
        server_->send_signal(signal);
        ended_well_ = server_->wait() == 0;
        runs_ = false;
    }

    // How many of its clients have names that begin so.
    std::size_t clients(const std::string& name) const { return files_of(name).size(); }

    // Waits until the condition holds; false after half a minute, which a busy machine may need.
    template <class Condition>
    static bool until(Condition condition) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return true;
    }
    static bool until_port(const std::string& name) {
        const std::string begin = "\n", line = begin + name + begin;
        return until([&] { return (begin + run({"jack_lsp"}).out).find(line) != std::string::npos; });
    }

private:
    std::vector<std::filesystem::path> files_of(const std::string& client) const {
        std::vector<std::filesystem::path> found;
        for (const auto& file : std::filesystem::directory_iterator("/dev/shm"))
            if (file.path().string().find(name_ + "_" + client) != std::string::npos) found.push_back(file);
        return found;
    }

    int playback_ports_, frames_;
    const char* mode_;
    std::string name_;
    temporary_directory directory_;
    std::unique_ptr<process> server_;
    bool runs_ = false, ended_well_ = true;
};

// No JACK server at all while it lives, whatever the machine runs.
class no_jack_server {
public:
    no_jack_server() {
        setenv("JACK_DEFAULT_SERVER", ("quenvarel-none-" + std::to_string(getpid())).c_str(), 1);
        setenv("JACK_NO_START_SERVER", "1", 1);
    }
};

} // namespace test_support
