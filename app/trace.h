#pragma once
// The lines on standard error that tell what the player does.

#include <charconv>
#include <cstddef>
#include <iostream>
#include <string_view>

namespace quenvarel {

// One line, written in one piece, with its newline, when the object is destroyed. Allocates nothing. A line
// that is too long is cut off; no line of the player comes near that.
class trace {
public:
    trace() = default;
    ~trace() {
        text_[length_++] = '\n';
        std::cerr.write(text_, static_cast<std::streamsize>(length_));
    }
    trace(const trace&) = delete;
    trace& operator=(const trace&) = delete;

    trace& text(std::string_view part) {
        length_ += part.copy(text_ + length_, room - length_);
        return *this;
    }
    trace& dec(unsigned value) { return number(value, 10); }
    // Lower case, no leading zeros.
    trace& hex(unsigned value) { return number(value, 16); }
    // The byte as it is.
    trace& byte(unsigned char value) {
        if (length_ < room) text_[length_++] = static_cast<char>(value);
        return *this;
    }

private:
    static constexpr std::size_t room = 127;

    trace& number(unsigned value, int base) {
        const auto end = std::to_chars(text_ + length_, text_ + room, value, base);
        if (end.ec == std::errc()) length_ = static_cast<std::size_t>(end.ptr - text_);
        return *this;
    }

    char text_[room + 1];
    std::size_t length_ = 0;
};

} // namespace quenvarel
