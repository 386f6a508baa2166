#include "progress_bar.h"

#include <iostream>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace tool {

static bool is_watched() {
#ifdef _WIN32
    return _isatty(2) != 0;
#else
    return isatty(STDERR_FILENO) != 0;
#endif
}

progress_bar::progress_bar(std::string what) : what_(std::move(what)) {}

progress_bar::~progress_bar() {
    if (drawn_) std::cerr << '\r' << std::string(what_.size() + 50, ' ') << '\r' << std::flush;
}

pmt3d::progress_t progress_bar::callback() {
    if (!is_watched()) return {};
    return [this](std::uint64_t done, std::uint64_t total) { show(done, total); };
}

void progress_bar::show(std::uint64_t done, std::uint64_t total) {
    const auto now = clock::now();
    if (now < next_) return;
    next_ = now + std::chrono::milliseconds(100);
    const double part = total == 0 ? 1.0 : double(done) / double(total);
    constexpr int width = 40;
    const int filled = int(part * width);
    std::cerr << '\r' << what_ << " [" << std::string(filled, '#') << std::string(width - filled, ' ') << "] "
              << int(part * 100) << '%' << std::flush;
    drawn_ = true;
}

} // namespace tool
