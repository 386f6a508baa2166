#pragma once
// A JACK server that stands still blocks every call into it. So one thread makes all calls, one after
// another, and its callers wait only up to a limit. While the server blocks that thread, all further calls
// fail at once.

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace midi {

// How long a call may take; at rest one takes some 20 ms. Once the server has answered, more is worth waiting
// for.
constexpr std::chrono::milliseconds jack_patience{600}, patience_with_a_living_server{3000};

// What becomes of a call that nobody waits for any longer before it has begun.
enum class when_late { never_run, run_later };

// Runs the call on JACK's thread. True when it has ended within the limit; false at once while the server
// stands still. A call that has begun goes on after that, so it must own everything that it touches.
bool run_on_jack_thread(std::function<void()> call, std::chrono::milliseconds limit, when_late late);

// Has the call run on JACK's thread after a delay, without waiting for it. May be called on every thread but
// a realtime one.
void post_to_jack_thread(std::function<void()> call,
                         std::chrono::milliseconds delay = std::chrono::milliseconds(0));

// What the function returns on JACK's thread; nothing when it has not ended in time. What it returns later is
// destroyed on that thread.
template <class Function>
auto ask_jack(Function function, std::chrono::milliseconds limit = jack_patience) {
    using answer_t = std::optional<decltype(function())>;
    const auto answer = std::make_shared<answer_t>();
    const bool ended =
        run_on_jack_thread([answer, function] { *answer = function(); }, limit, when_late::never_run);
    return ended ? std::move(*answer) : answer_t();
}

} // namespace midi
