#include "midi/drivers/speakers.h"

#include "libutils/report.h"
#include "midi/drivers/jack_thread.h"
#include "midi/drivers/outlet.h"
#include "midi/drivers/soundfont.h"
#include "midi/message.h"

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <future>
#include <mutex>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace midi {

namespace {

constexpr result_t cannot_open = 1, bad_message = 2;
constexpr std::chrono::milliseconds patience{800}, between_rounds{1000};
constexpr std::chrono::milliseconds step{50}, glance{250}, to_let_go{500};
// So many drop-outs within so long are too many. One may have any cause.
constexpr int most_drop_outs = 2;
constexpr std::chrono::seconds drop_outs_counted{10};
constexpr int longest_period = 2048;

constexpr sound_system systems[] = {
    {"jack", 64, 2}, // JACK has its own period
    {"pipewire", 128, 2},
    {"pulseaudio", 256, 2},
    {"alsa", 128, 3},
};

bool is_jack(const sound_system& system) {
    return std::string_view(system.name) == "jack";
}

// Some libraries write to a server that has gone. In this thread, and in those that it begins, that does no
// harm.
void ignore_broken_pipes() {
    sigset_t broken_pipe;
    sigemptyset(&broken_pipe);
    sigaddset(&broken_pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &broken_pipe, nullptr);
}

// Calls a sound system where nobody waits for it. A result that nobody fetches is destroyed there.
template <class Function>
auto elsewhere(const sound_system& system, Function function) {
    const auto task = std::make_shared<std::packaged_task<decltype(function())()>>(std::move(function));
    const auto run = [task] {
        ignore_broken_pipes();
        (*task)();
    };
    auto result = task->get_future();
    if (is_jack(system))
        post_to_jack_thread(run);
    else
        try {
            std::thread(run).detach();
        } catch (const std::system_error&) { // there is no elsewhere
            (*task)();
        }
    return result;
}

// False at once when JACK's server is known to stand still.
bool answers(const sound_system& system) {
    return !is_jack(system) || ask_jack([] { return true; });
}

template <class Result>
bool is_pending(const std::future<Result>& result, std::chrono::milliseconds limit = {}) {
    return result.valid() && result.wait_for(limit) != std::future_status::ready;
}

// A sound system, and our outlet there if it has one. Nothing waits for long for a system that does not
// answer, and nothing new is asked of it meanwhile.
class way {
public:
    way(const sound_system& system, std::shared_ptr<sound_source> source)
        : system_(system),
          source_(std::move(source)) {}

    // False when the system does not work, or does not answer before we give up.
    template <class Condition>
    bool open(Condition gives_up) {
        if (is_pending(leaving_)) return false;
        stands_still_ = !opening_.valid() && !answers(system_);
        if (stands_still_) return false;
        if (!opening_.valid()) {
            opening_ = elsewhere(system_, [system = system_, source = source_] {
                attempt made;
                made.made = outlet::open(system, source, made.reason);
                return made;
            });
            const auto end = std::chrono::steady_clock::now() + patience;
            while (is_pending(opening_, step) && std::chrono::steady_clock::now() < end && !gives_up()) {
            }
        }
        if (is_pending(opening_)) return false;
        take_attempt();
        if (outlet_) source_->let_in(outlet_.get());
        return outlet_ != nullptr;
    }
    bool plays() const { return outlet_ && outlet_->plays(); }
    // A system that answers lets go of us in time.
    void leave() {
        if (!outlet_) return;
        const bool played = outlet_->plays();
        source_->shut_out(outlet_.get());
        leaving_ = elsewhere(system_, [left = std::move(outlet_)]() mutable { left.reset(); });
        if (played) is_pending(leaving_, to_let_go);
    }
    // Counts drop-outs; when there are too many, periods get twice as long. Those of JACK belong to its
    // server and to all programs on it.
    template <class Condition>
    void look_for_drop_outs(Condition gives_up) {
        const auto now = std::chrono::steady_clock::now();
        if (now - counted_since_ > drop_outs_counted) forget_drop_outs();
        drop_outs_ += outlet_->take_drop_outs();
        if (drop_outs_ <= most_drop_outs) return;
        if (!is_jack(system_))
            grow(gives_up);
        else if (!std::exchange(advised_, true))
            libutils::report("FluidSynth: drop-outs on jack, whose period is ", outlet_->period(),
                             " frames: \"jack_bufsize ", 2 * outlet_->period(), "\" makes it longer.");
        if (outlet_) outlet_->take_drop_outs();
        forget_drop_outs();
    }
    // What was opened too late to be of use is left.
    void leave_late() {
        if (!opening_.valid() || is_pending(opening_)) return;
        take_attempt();
        leave();
    }
    bool is_awaited() const { return stands_still_ || is_pending(opening_) || is_pending(leaving_); }
    const char* name() const { return system_.name; }
    // Why it was not opened when last tried.
    std::string reason() const { return is_awaited() ? "no answer" : reason_; }

private:
    struct attempt {
        std::unique_ptr<outlet> made;
        std::string reason;
    };
    void forget_drop_outs() {
        drop_outs_ = 0;
        counted_since_ = std::chrono::steady_clock::now();
    }
    // When the system does not open again, the next round finds it.
    template <class Condition>
    void grow(Condition gives_up) {
        if (2 * system_.period > longest_period) return;
        system_.period *= 2;
        libutils::report("FluidSynth: drop-outs on ", system_.name, ": its buffer grows to ", system_.period,
                         " frames.");
        leave();
        open(gives_up);
    }
    void take_attempt() {
        attempt made = opening_.get();
        outlet_ = std::move(made.made);
        reason_ = std::move(made.reason);
    }

    sound_system system_;
    std::shared_ptr<sound_source> source_;
    bool stands_still_ = false; // when last tried
    std::unique_ptr<outlet> outlet_;
    int drop_outs_ = 0; // counted lately
    std::chrono::steady_clock::time_point counted_since_;
    bool advised_ = false; // about JACK's period
    std::string reason_;
    std::future<attempt> opening_;
    std::future<void> leaving_;
};

class speakers : public output_device_t {
public:
    explicit speakers(std::unique_ptr<synthesizer> synth)
        : source_(std::make_shared<sound_source>(std::move(synth))) {
        for (const sound_system& system : systems)
            ways_.emplace_back(system, source_);
    }
    ~speakers() override { speakers::close(); }

    bool open() {
        const bool found = find_way();
        std::string tried;
        for (way& each : ways_) {
            if (&each != current_) each.leave_late(); // an answer that has come meanwhile is its reason
            if (found && each.is_awaited())
                libutils::report("FluidSynth: ", each.name(), " does not answer.");
            if (found && each.reason() == no_playback_ports)
                libutils::report("FluidSynth: ", each.name(), " has ", no_playback_ports, '.');
            tried += std::string(tried.empty() ? "" : ", ") + each.name() + " (" + each.reason() + ")";
        }
        if (!found) return libutils::report("FluidSynth: no way to the loudspeakers: ", tried, ".");
        try {
            keeper_ = std::thread([this] { keep(); });
        } catch (const std::system_error& error) {
            return libutils::report("FluidSynth: ", error.what(), ".");
        }
        return true;
    }

    result_t short_message(std::uint32_t message) override {
        const short_bytes_t unpacked = unpack(message);
        if (!unpacked.length) return bad_message;
        source_->message(unpacked.bytes, unpacked.length);
        return no_error;
    }

    result_t long_message(const std::uint8_t* bytes, std::size_t length) override {
        pieces_.read(bytes, length, [this](const std::uint8_t* message, std::size_t count) {
            source_->message(message, count);
        });
        return no_error;
    }

    result_t close() override {
        if (!keeper_.joinable()) return no_error;
        {
            const std::lock_guard lock(mutex_);
            closing_ = true;
        }
        woken_.notify_one();
        keeper_.join();
        // Cut off at once, whatever sounds would click.
        if (current_ && current_->plays()) source_->fade();
        if (current_) current_->leave();
        return no_error;
    }

private:
    bool find_way() {
        if (current_) std::exchange(current_, nullptr)->leave();
        for (way& each : ways_) {
            if (is_closing() || !each.open([this] { return is_closing(); })) continue;
            current_ = &each;
            return true;
        }
        return false;
    }

    bool is_closing() {
        const std::lock_guard lock(mutex_);
        return closing_;
    }

    void keep() {
        std::unique_lock lock(mutex_);
        auto next_round = clock::now();
        while (!woken_.wait_for(lock, glance, [this] { return closing_; })) {
            lock.unlock();
            const bool plays = current_ && current_->plays();
            if (plays) current_->look_for_drop_outs([this] { return is_closing(); });
            if (!plays && clock::now() >= next_round) {
                find_way();
                next_round = clock::now() + between_rounds;
            }
            for (way& each : ways_)
                if (current_ && &each != current_) each.leave_late();
            lock.lock();
        }
    }

    using clock = std::chrono::steady_clock;
    message_reader pieces_; // of long messages
    std::shared_ptr<sound_source> source_;
    std::vector<way> ways_;
    way* current_ = nullptr; // the one that is heard; of the keeper while it runs
    bool closing_ = false;
    std::mutex mutex_;
    std::condition_variable woken_;
    std::thread keeper_;
};

} // namespace

result_t open_speakers(std::unique_ptr<output_device_t>& opened) {
    auto synth = synthesizer::make(synthesizer::speaker_rate);
    if (!synth) return cannot_open;
    announce_soundfont(synth->soundfont());
    auto device = std::make_unique<speakers>(std::move(synth));
    if (!device->open()) return cannot_open;
    opened = std::move(device);
    return no_error;
}

} // namespace midi
