#pragma once
// How far long work has come, for somebody who watches.

#include "pmt3d/format/progress.h"

#include <chrono>
#include <cstdint>
#include <streambuf>
#include <string>

namespace tool {

// A line on standard error that is drawn over and over, gives way to whatever else is written there, and is
// gone in the end. Only when standard error is a terminal, and only once the work has taken half a second.
class progress_bar : private std::streambuf {
public:
    // "reading", "chair.pmt".
    progress_bar(const std::string& doing, const std::string& file);
    ~progress_bar() override;
    progress_bar(const progress_bar&) = delete;
    progress_bar& operator=(const progress_bar&) = delete;

    // Empty where nobody watches. Must not outlive the bar.
    pmt3d::progress_t callback();

private:
    void show(std::uint64_t done, std::uint64_t total);
    void wipe();
    // std::cerr writes to these while the bar may be there.
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
