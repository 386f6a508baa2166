#pragma once
// Writes the text lines of a model file.

#include "pmt3d/format/progress.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace pmt3d {

// Takes the next piece of a file; false when it cannot.
using byte_sink = std::function<bool(std::string_view)>;

// Collects lines and passes them on in large pieces. Numbers have six significant digits, in the shorter of
// fixed and exponent form, in every locale; every line ends with "\r\n".
class line_writer {
public:
    explicit line_writer(byte_sink sink) : sink_(std::move(sink)) {}
    // Also reports how many of the expected lines have been written.
    line_writer(byte_sink sink, progress_t progress, std::uint64_t lines)
        : sink_(std::move(sink)),
          progress_(std::move(progress)),
          expected_(lines) {}
    line_writer(const line_writer&) = delete;
    line_writer& operator=(const line_writer&) = delete;

    // The pieces of a line, and its end.
    line_writer& text(std::string_view text) {
        buffer_.append(text);
        return *this;
    }
    line_writer& number(float value);
    line_writer& integer(std::uint64_t value);
    void end_line() {
        buffer_ += "\r\n";
        line_ = buffer_.size();
        ++written_;
        if (line_ >= piece) flush();
    }

    // The line "KEY VALUE,VALUE,..." of floats that must be finite, see refuse().
    template <class... Floats>
    void floats(std::string_view key, Floats... values) {
        text(key);
        char separator = ' ';
        (((buffer_ += separator), number(values), separator = ','), ...);
        if (!(... && finite(values))) refuse();
        end_line();
    }

    // Reports the current line on standard error as one that could not be read back; the save fails.
    void refuse();

    // Passes on what is left. False when anything has failed.
    bool flush();
    // False once the sink has failed or a line has been refused.
    bool good() const { return good_; }
    bool refused() const { return refused_; }

private:
    static constexpr std::size_t piece = 65536;
    static bool finite(float value) { return value - value == 0.0f; }

    byte_sink sink_;
    std::string buffer_;
    std::size_t line_ = 0; // where the current line begins in the buffer
    bool good_ = true, refused_ = false;
    progress_t progress_;
    std::uint64_t written_ = 0, expected_ = 0; // lines
};

} // namespace pmt3d
