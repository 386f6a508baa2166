#pragma once
// Writes JSON on one line.

#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

namespace tool {

// Writes values one after the other and sets the commas between them. The caller nests them rightly.
class json_writer {
public:
    explicit json_writer(std::ostream& out) : out_(out) {}

    void begin_object() { open('{'); }
    void end_object() { close('}'); }
    void begin_array() { open('['); }
    void end_array() { close(']'); }
    // The key of the value that follows.
    json_writer& key(std::string_view name);

    void integer(std::uint64_t value);
    // Nine significant digits, or the string "nan", "inf" or "-inf".
    void number(float value);
    void boolean(bool value);
    // Bytes that are not UTF-8 become the replacement character.
    void string(std::string_view text);

    // Ends the line and hands on what is left.
    void finish();

private:
    void open(char bracket);
    void close(char bracket);
    void value(std::string_view text);
    void separate();

    std::ostream& out_;
    std::string buffer_;
    bool comma_ = false; // one is due before the next value or key
};

} // namespace tool
