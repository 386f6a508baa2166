#pragma once
// How far long work has come, for somebody who watches.

#include "pmt3d/format/progress.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace tool {

// A line on standard error that is drawn over and over, and gone in the end. Only when standard error is a
// terminal, and only once the work has taken half a second.
class progress_bar {
public:
    explicit progress_bar(std::string what);
    ~progress_bar();
    progress_bar(const progress_bar&) = delete;
    progress_bar& operator=(const progress_bar&) = delete;

    // Empty where nobody watches. Must not outlive the bar.
    pmt3d::progress_t callback();

private:
    void show(std::uint64_t done, std::uint64_t total);

    using clock = std::chrono::steady_clock;
    std::string what_;
    clock::time_point next_ = clock::now() + std::chrono::milliseconds(500);
    bool drawn_ = false;
};

} // namespace tool
