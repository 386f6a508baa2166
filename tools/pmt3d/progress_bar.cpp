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
    : what_(doing + ' ' + shortened(file)) {}

progress_bar::~progress_bar() {
    if (!terminal_) return;
    wipe();
    terminal_->pubsync();
    std::cerr.rdbuf(terminal_);
}

pmt3d::progress_t progress_bar::callback() {
    if (!is_watched()) return {};
    if (!terminal_) terminal_ = std::cerr.rdbuf(this);
    return [this](std::uint64_t done, std::uint64_t total) { show(done, total); };
}

void progress_bar::show(std::uint64_t done, std::uint64_t total) {
    const auto now = clock::now();
    if (now < next_) return;
    next_ = now + std::chrono::milliseconds(100);
    const double part = total == 0 ? 1.0 : double(done) / double(total);
    constexpr int width = 40;
    const int filled = int(part * width);
    const std::string line = '\r' + what_ + " [" + std::string(filled, '#') +
                             std::string(width - filled, ' ') + "] " + std::to_string(int(part * 100)) + '%';
    terminal_->sputn(line.data(), std::streamsize(line.size()));
    terminal_->pubsync();
    drawn_ = line.size() - 1;
}

void progress_bar::wipe() {
    if (drawn_ == 0) return;
    const std::string line = '\r' + std::string(drawn_, ' ') + '\r';
    terminal_->sputn(line.data(), std::streamsize(line.size()));
    drawn_ = 0;
}

progress_bar::int_type progress_bar::overflow(int_type c) {
    if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
    wipe();
    return terminal_->sputc(traits_type::to_char_type(c));
}

std::streamsize progress_bar::xsputn(const char* text, std::streamsize size) {
    if (size > 0) wipe();
    return terminal_->sputn(text, size);
}

int progress_bar::sync() {
    return terminal_->pubsync();
}

} // namespace tool
