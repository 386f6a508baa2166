#pragma once
// Shows on a terminal that long work goes on.

#include "pmt3d/format/progress.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <streambuf>
#include <string>
#include <thread>

namespace tool {

// Whether it is a terminal, on which a bar would be in the way.
bool is_standard_output_watched();

// A line on standard error that is redrawn, makes way for other output there, and disappears at the end. It
// appears only on a terminal, and only when the work has taken half a second; with a bar once the work has
// told how much is done, with the seconds until then. Whoever writes to standard output ends it first.
class progress_bar : private std::streambuf {
public:
    // "reading", "chair.pmt".
    progress_bar(const std::string& doing, const std::string& file);
    ~progress_bar() override;
    progress_bar(const progress_bar&) = delete;
    progress_bar& operator=(const progress_bar&) = delete;

    // Empty unless standard error is a terminal. Must not outlive the bar.
    pmt3d::progress_t callback();

private:
    void run();
    void draw(); // these two with the lock
    void wipe();
    std::string line() const;
    // Receive what is written to std::cerr while the bar may be visible.
    int_type overflow(int_type c) override;
    std::streamsize xsputn(const char* text, std::streamsize size) override;
    int sync() override;

    using clock = std::chrono::steady_clock;
    const clock::time_point begin_ = clock::now();
    std::string what_;
    std::streambuf* terminal_ = nullptr; // null when nobody watches
    std::mutex lock_;                    // of all below, and of the terminal
    std::uint64_t done_ = 0, total_ = 0;
    bool told_ = false; // how much is done
    bool ended_ = false;
    bool within_line_ = false; // of other output, which must not be drawn over
    std::string drawn_;        // what stands on the line
    std::condition_variable end_;
    std::thread drawing_;
};

} // namespace tool
