#pragma once
// Reads a text file line by line, in place in its mapping.

#include "libutils/refvector2.h"
#include "pmt3d/format/progress.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace pmt3d {

// Another program has cut the file short while it was read, or its disk has failed. The text is a line for
// the user.
struct file_cut_short : std::runtime_error {
    using runtime_error::runtime_error;
};

// Lines end with '\n'; a '\r' before it stays in the line. The last line may lack the '\n'. Nothing is
// copied, whatever a line's length, except such a last line.
class line_reader {
public:
    line_reader() = default;
    // Over text in memory, which must outlive the reader.
    explicit line_reader(std::string_view text) { set_text(text); }
    line_reader(const line_reader&) = delete;
    line_reader& operator=(const line_reader&) = delete;

    // Maps the file and starts over with it. False, silently, when it cannot be read (missing, a directory,
    // no permission). An empty file has no lines.
    bool open(const std::string& name);

    // Moves to the next line; false at the end. Throws file_cut_short.
    bool next();
    // Throws file_cut_short when the file has become shorter. For callers that stop before the end.
    void check_whole() const;
    // The current line. The character behind it can always be read and is '\n' or 0, so a parser that stops
    // at either can work in place. Valid until the next call of next().
    std::string_view line() const { return line_; }
    // Its number, from 1; 0 before the first.
    std::uint64_t number() const { return number_; }

    std::string_view text() const { return text_; } // all of it
    std::uint64_t position() const { return at_; }  // bytes up to the end of the current line
    std::uint64_t size() const { return text_.size(); }
    std::uint64_t remaining() const { return size() - position(); }

    // For callers that find the ends of lines while they read values: the start of the next line if a '\n'
    // ends that line, else null; the end of the last such line; and how many bytes and lines they have read.
    // line() does not change.
    const char* ahead() const { return at_ < last_end_ ? text_.data() + at_ : nullptr; }
    const char* lines_end() const { return text_.data() + last_end_; }
    void took_lines(std::uint64_t bytes, std::uint64_t lines) {
        at_ += bytes;
        number_ += lines;
    }

    // Before the first line: passes over the mark that some editors put in front of UTF-8 text.
    void skip_byte_order_mark() {
        if (at_ == 0 && text_.starts_with(byte_order_mark)) at_ = byte_order_mark.size();
    }
    static constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

    // Skips raw bytes, or to the end if there are fewer; the next line begins there.
    void skip(std::uint64_t bytes);
    // Called with the position about once a megabyte.
    void set_progress(progress_t progress);
    // For callers that read on their own and have come so far.
    void passed(std::uint64_t position) {
        if (position >= next_report_) report_progress(position);
    }

private:
    void set_text(std::string_view text);
    void report_progress(std::uint64_t position);

    std::string name_;
    libutils::refvector2<char> file_;
    std::string_view text_;
    std::uint64_t at_ = 0, last_end_ = 0; // behind the last '\n'
    std::string_view line_;
    std::uint64_t number_ = 0;
    std::string last_; // a last line without '\n', with a 0 behind it
    progress_t progress_;
    std::uint64_t next_report_ = UINT64_MAX; // position
};

} // namespace pmt3d
