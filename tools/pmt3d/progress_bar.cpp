#include "progress_bar.h"

#include <algorithm>
#include <iostream>
#include <system_error>
#include <utility>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace tool {

static bool is_terminal(int descriptor) {
#ifdef _WIN32
    return _isatty(descriptor) != 0;
#else
    return isatty(descriptor) != 0;
#endif
}

bool is_standard_output_watched() {
    return is_terminal(1);
}

// The end of a name that is too long for the line, cut at the start of a character.
static std::string shortened(const std::string& name) {
    constexpr std::size_t longest = 20;
    if (name.size() <= longest) return name;
    std::size_t from = name.size() - longest;
    while (from < name.size() && (name[from] & 0xC0) == 0x80)
        ++from;
    return "..." + name.substr(from);
}

progress_bar::progress_bar(const std::string& doing, const std::string& file)
    : what_(doing + ' ' + shortened(file)) {
    if (!is_terminal(2)) return;
    terminal_ = std::cerr.rdbuf(this);
    try {
        drawing_ = std::thread([this] { run(); });
    } catch (const std::system_error&) { // the work goes on without it
    }
}

progress_bar::~progress_bar() {
    if (!terminal_) return;
    {
        const std::lock_guard guard(lock_);
        ended_ = true;
    }
    end_.notify_one();
    if (drawing_.joinable()) drawing_.join();
    wipe();
    terminal_->pubsync();
    std::cerr.rdbuf(terminal_);
}

pmt3d::progress_t progress_bar::callback() {
    if (!terminal_) return {};
    return [this](std::uint64_t done, std::uint64_t total) {
        const std::lock_guard guard(lock_);
        done_ = done;
        total_ = total;
        told_ = true;
    };
}

void progress_bar::run() {
    std::unique_lock guard(lock_);
    for (auto next = begin_ + std::chrono::milliseconds(500);; next += std::chrono::milliseconds(100)) {
        if (end_.wait_until(guard, next, [this] { return ended_; })) return;
        draw();
    }
}

std::string progress_bar::line() const {
    if (!told_) {
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(clock::now() - begin_);
        return what_ + ", " + std::to_string(seconds.count()) + " s";
    }
    const double part = total_ == 0 ? 1.0 : std::min(double(done_) / double(total_), 1.0);
    constexpr int width = 40;
    const int filled = int(part * width);
    return what_ + " [" + std::string(filled, '#') + std::string(width - filled, ' ') + "] " +
           std::to_string(int(part * 100)) + '%';
}

void progress_bar::draw() {
    std::string now = line();
    if (within_line_ || now == drawn_) return;
    if (now.size() < drawn_.size()) wipe();
    const std::string text = '\r' + now;
    terminal_->sputn(text.data(), std::streamsize(text.size()));
    terminal_->pubsync();
    drawn_ = std::move(now);
}

void progress_bar::wipe() {
    if (drawn_.empty()) return;
    const std::string text = '\r' + std::string(drawn_.size(), ' ') + '\r';
    terminal_->sputn(text.data(), std::streamsize(text.size()));
    drawn_.clear();
}

progress_bar::int_type progress_bar::overflow(int_type c) {
    if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
    const std::lock_guard guard(lock_);
    wipe();
    within_line_ = traits_type::to_char_type(c) != '\n';
    return terminal_->sputc(traits_type::to_char_type(c));
}

std::streamsize progress_bar::xsputn(const char* text, std::streamsize size) {
    const std::lock_guard guard(lock_);
    if (size > 0) {
        wipe();
        within_line_ = text[size - 1] != '\n';
    }
    return terminal_->sputn(text, size);
}

int progress_bar::sync() {
    const std::lock_guard guard(lock_);
    return terminal_->pubsync();
}

} // namespace tool
