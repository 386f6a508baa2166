#pragma once
// What the code under test writes to a standard stream, kept as text.

#include <iostream>
#include <sstream>
#include <string>

namespace test_support {

// How a line that ends in "\r\n" is repeated: Windows' own streams put the '\r' there.
#ifdef _WIN32
inline constexpr char repeated_line_end[] = "\n";
#else
inline constexpr char repeated_line_end[] = "\r\n";
#endif

// While it lives, the stream writes into this object; text() is all of it so far, take() also forgets it.
class capture {
public:
    explicit capture(std::ostream& stream) : stream_(stream), before_(stream.rdbuf(text_.rdbuf())) {}
    ~capture() { stream_.rdbuf(before_); }
    capture(const capture&) = delete;
    capture& operator=(const capture&) = delete;

    std::string text() const { return text_.str(); }
    std::string take() {
        std::string all = text_.str();
        text_.str({});
        return all;
    }

private:
    std::ostringstream text_;
    std::ostream& stream_;
    std::streambuf* before_;
};

} // namespace test_support
