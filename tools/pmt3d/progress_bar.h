#pragma once
// Shows the progress of long operations on a terminal.

#include "pmt3d/format/progress.h"

#include <chrono>
#include <cstdint>
#include <streambuf>
#include <string>

namespace tool {

// A line on standard error that is redrawn, makes way for other output, and disappears at the end. It appears
// only on a terminal, and only when the work has taken half a second.
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
    void show(std::uint64_t done, std::uint64_t total);
    void wipe();
    // Receive what is written to std::cerr while the bar may be visible.
    int_type overflow(int_type c) override;
    std::streamsize xsputn(const char* text, std::streamsize size) override;
    int sync() override;

    using clock = std::chrono::steady_clock;
    std::string what_;
    clock::time_point next_ = clock::now() + std::chrono::milliseconds(500);
    std::size_t drawn_ = 0; // characters on the line
    std::streambuf* terminal_ = nullptr;
};

} // namespace tool
