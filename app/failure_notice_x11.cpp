#include "app/failure_notice.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <poll.h>
#include <streambuf>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace quenvarel {

namespace {

constexpr std::size_t most_text = 4000, longest_line = 100; // characters
constexpr int margin = 20;                                  // pixels
// Nobody may be there: a script can look like a desktop.
constexpr std::chrono::seconds longest_shown{60};

// Passes everything on and keeps a copy.
class copying_buffer : public std::streambuf {
public:
    explicit copying_buffer(std::ostream& stream) : stream_(stream), next_(stream.rdbuf(this)) {}
    ~copying_buffer() override { stream_.rdbuf(next_); }
    copying_buffer(const copying_buffer&) = delete;
    copying_buffer& operator=(const copying_buffer&) = delete;

    const std::string& text() const { return text_; }

protected:
    int_type overflow(int_type character) override {
        const char byte = traits_type::to_char_type(character);
        return xsputn(&byte, 1) == 1 ? character : traits_type::eof();
    }
    std::streamsize xsputn(const char* bytes, std::streamsize count) override {
        const std::lock_guard lock(mutex_);
        text_.append(bytes, std::min(static_cast<std::size_t>(count), most_text - text_.size()));
        return next_->sputn(bytes, count);
    }
    int sync() override { return next_->pubsync(); }

private:
    std::ostream& stream_;
    std::streambuf* next_;
    std::mutex mutex_;
    std::string text_;
};

copying_buffer* reported = nullptr;

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size();) {
        std::size_t end = std::min(text.find('\n', at), text.size());
        if (end - at > longest_line) {
            const std::size_t space = text.rfind(' ', at + longest_line);
            end = space != std::string::npos && space > at ? space : at + longest_line;
        }
        lines.push_back(text.substr(at, end - at));
        const bool has_separator = end < text.size() && (text[end] == '\n' || text[end] == ' ');
        at = end + has_separator;
    }
    return lines;
}

// Whether there is an event before that time.
bool comes_before(std::chrono::steady_clock::time_point end, Display* display) {
    if (XPending(display) > 0) return true;
    using std::chrono::milliseconds;
    const auto left = std::chrono::ceil<milliseconds>(end - std::chrono::steady_clock::now());
    pollfd waiting = {ConnectionNumber(display), POLLIN, 0};
    return left.count() > 0 && poll(&waiting, 1, static_cast<int>(left.count())) > 0;
}

void show(const std::vector<std::string>& lines) {
    Display* const display = XOpenDisplay(nullptr);
    if (!display) return;
    XFontStruct* font = nullptr;
    for (const char* name : {"10x20", "9x15", "fixed"})
        if (!font) font = XLoadQueryFont(display, name);
    if (!font) return;
    const int line_height = font->ascent + font->descent + 2;
    int width = 0;
    for (const std::string& line : lines)
        width = std::max(width, XTextWidth(font, line.data(), static_cast<int>(line.size())));
    const int screen = DefaultScreen(display);
    const int height = line_height * static_cast<int>(lines.size()) + 2 * margin;
    const Window window = XCreateSimpleWindow(
        display, RootWindow(display, screen), 0, 0, static_cast<unsigned>(width + 2 * margin),
        static_cast<unsigned>(height), 0, BlackPixel(display, screen), WhitePixel(display, screen));
    XStoreName(display, window, "Quenvarel cannot start");
    Atom closing = XInternAtom(display, "WM_DELETE_WINDOW", False);
    XSetWMProtocols(display, window, &closing, 1);
    XSelectInput(display, window, ExposureMask | KeyPressMask | ButtonPressMask);
    XMapRaised(display, window);
    const GC ink = XCreateGC(display, window, 0, nullptr);
    XSetFont(display, ink, font->fid);
    XSetForeground(display, ink, BlackPixel(display, screen));
    const auto end = std::chrono::steady_clock::now() + longest_shown;
    for (XEvent event; comes_before(end, display);) {
        XNextEvent(display, &event);
        if (event.type == KeyPress || event.type == ButtonPress || event.type == ClientMessage) break;
        if (event.type != Expose) continue;
        int y = margin + font->ascent;
        for (const std::string& line : lines) {
            XDrawString(display, window, ink, margin, y, line.data(), static_cast<int>(line.size()));
            y += line_height;
        }
    }
    XCloseDisplay(display);
}

bool is_started_by_desktop() {
    if (isatty(STDERR_FILENO) || isatty(STDIN_FILENO)) return false;
    for (const char* variable : {"GIO_LAUNCHED_DESKTOP_FILE", "DESKTOP_STARTUP_ID", "XDG_ACTIVATION_TOKEN"})
        if (std::getenv(variable)) return true;
    struct stat about;
    return fstat(STDERR_FILENO, &about) == 0 && S_ISCHR(about.st_mode); // /dev/null
}

void show_reported() {
    if (!reported || reported->text().empty()) return;
    std::vector<std::string> lines = lines_of(reported->text());
    lines.insert(lines.end(), {"", "Press a key to close this window."});
    forget_failures();
    show(lines);
}

} // namespace

bool is_double_clicked() {
    return false;
}

void watch_failures() {
    if (reported || !is_started_by_desktop()) return;
    reported = new copying_buffer(std::cerr);
    std::atexit(show_reported);
}

void forget_failures() {
    delete reported;
    reported = nullptr;
}

} // namespace quenvarel
