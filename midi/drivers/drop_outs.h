#pragma once
// Tells when a sound system has run out of sound. Most systems do not tell us, but they ask for more late
// then.

#include <algorithm>
#include <atomic>
#include <chrono>

namespace midi {

class drop_outs {
public:
    using clock = std::chrono::steady_clock;

    // A period is what is rendered at once; while it is, others wait to be heard.
    drop_outs(std::chrono::duration<double> period, int others)
        : period_(std::chrono::duration_cast<clock::duration>(period * slower_clocks)),
          waiting_(std::chrono::duration_cast<clock::duration>(period * others)) {}

    // The system asks for the next period. Called by its thread.
    void ask(clock::time_point now) {
        if (asked_ && now > lasts_until_ && now - lasts_until_ < standstill) ++count_;
        if (!asked_ || now > lasts_until_) lasts_until_ = now + (asked_ ? clock::duration(0) : waiting_);
        lasts_until_ = std::min(lasts_until_, now + waiting_) + period_;
        asked_ = true;
    }
    // Since the last call. By another thread.
    int take() { return count_.exchange(0); }

private:
    // The sound card's clock may be so much slower than ours.
    static constexpr double slower_clocks = 1.002;
    // A system that begins, and a computer that wakes up, leave longer gaps than any drop-out.
    static constexpr std::chrono::milliseconds standstill{500};

    const clock::duration period_, waiting_;
    clock::time_point lasts_until_{}; // what has been rendered
    bool asked_ = false;
    std::atomic<int> count_{0};
};

} // namespace midi
