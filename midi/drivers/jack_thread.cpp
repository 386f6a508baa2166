#include "midi/drivers/jack_thread.h"

#include <algorithm>
#include <condition_variable>
#include <list>
#include <mutex>
#include <system_error>
#include <thread>

namespace midi {

namespace {

using clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

struct task {
    clock::time_point due;
    std::function<void()> call;
    bool begun = false, ended = false;
};

// Lives for ever: ports are closed by exit handlers, when static objects are gone already.
class jack_thread {
public:
    static jack_thread& get() {
        static jack_thread& only = *new jack_thread;
        return only;
    }

    std::shared_ptr<task> add(std::function<void()> call, milliseconds delay) {
        const std::lock_guard lock(mutex_);
        auto added = std::make_shared<task>(task{clock::now() + delay, std::move(call)});
        tasks_.push_back(added);
        changed_.notify_all();
        return added;
    }

    bool is_this_one() const { return std::this_thread::get_id() == id_; }

    bool wait(const std::shared_ptr<task>& awaited, milliseconds limit, when_late late) {
        std::unique_lock lock(mutex_);
        // In small steps, which get longer on a busy machine as its answers do.
        constexpr milliseconds step{5};
        for (milliseconds waited{0}; !awaited->ended; waited += step) {
            if (waited >= limit && limit >= jack_patience) stands_still_ = busy_;
            if (waited >= limit || stands_still_) {
                if (!awaited->begun && late == when_late::never_run) tasks_.remove(awaited);
                return false;
            }
            changed_.wait_for(lock, step);
        }
        return true;
    }

private:
    jack_thread() {
        try {
            std::thread thread([this] { run(); });
            id_ = thread.get_id();
            thread.detach();
        } catch (const std::system_error&) { // without a thread nothing of JACK answers
            stands_still_ = true;
        }
    }

    void run() {
        std::unique_lock lock(mutex_);
        for (;;) {
            const auto next = std::min_element(tasks_.begin(), tasks_.end(),
                                               [](const auto& a, const auto& b) { return a->due < b->due; });
            if (next == tasks_.end()) {
                changed_.wait(lock);
            } else if (const auto due = (*next)->due; due > clock::now()) {
                changed_.wait_until(lock, due);
            } else {
                const std::shared_ptr<task> current = *next;
                tasks_.erase(next);
                current->begun = busy_ = true;
                lock.unlock();
                current->call();
                current->call = nullptr; // what it owns goes here
                lock.lock();
                current->ended = true;
                busy_ = stands_still_ = false;
                changed_.notify_all();
            }
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::list<std::shared_ptr<task>> tasks_;
    bool busy_ = false;         // with a call
    bool stands_still_ = false; // somebody has waited in vain for that call
    std::thread::id id_;
};

} // namespace

bool run_on_jack_thread(std::function<void()> call, milliseconds limit, when_late late) {
    jack_thread& thread = jack_thread::get();
    if (thread.is_this_one()) {
        call(); // an exit handler after memory has run out here
        return true;
    }
    return thread.wait(thread.add(std::move(call), milliseconds(0)), limit, late);
}

void post_to_jack_thread(std::function<void()> call, milliseconds delay) {
    jack_thread::get().add(std::move(call), delay);
}

} // namespace midi
