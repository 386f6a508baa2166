#include "json.h"

#include "libutils/number.h"

#include <cmath>
#include <ostream>

namespace tool {

void json_writer::separate() {
    if (comma_) buffer_ += ',';
    comma_ = true;
}

void json_writer::open(char bracket) {
    separate();
    buffer_ += bracket;
    comma_ = false;
}

void json_writer::close(char bracket) {
    buffer_ += bracket;
    comma_ = true;
}

void json_writer::value(std::string_view text) {
    constexpr std::size_t piece = 65536;
    separate();
    buffer_ += text;
    if (buffer_.size() < piece) return;
    out_ << buffer_;
    buffer_.clear();
}

json_writer& json_writer::key(std::string_view name) {
    string(name);
    buffer_ += ':';
    comma_ = false;
    return *this;
}

void json_writer::integer(std::uint64_t value_) {
    value(std::to_string(value_));
}

void json_writer::boolean(bool value_) {
    value(value_ ? "true" : "false");
}

void json_writer::number(float value_) {
    if (std::isfinite(value_))
        value(libutils::float_text(double(value_), 9));
    else
        value(std::isnan(value_) ? "\"nan\"" : value_ > 0 ? "\"inf\"" : "\"-inf\"");
}

// The length of the UTF-8 character that the text begins with; 0 when it begins with none (RFC 3629, section
// 4).
static std::size_t utf8_length(std::string_view text) {
    const auto byte = [&](std::size_t at) {
        return at < text.size() ? unsigned(static_cast<unsigned char>(text[at])) : 0u;
    };
    const unsigned lead = byte(0);
    if (lead < 0x80) return 1;
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4) return 0;
    // The second byte is bounded further where a shorter form, a surrogate or a code beyond the last one
    // begins.
    const unsigned low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    if (byte(1) < low || byte(1) > high) return 0;
    for (std::size_t at = 2; at < length; ++at)
        if (byte(at) < 0x80 || byte(at) > 0xBF) return 0;
    return length;
}

void json_writer::string(std::string_view text) {
    constexpr char hex[] = "0123456789abcdef";
    std::string quoted = "\"";
    while (!text.empty()) {
        const std::size_t length = utf8_length(text);
        const char c = text[0];
        if (length == 0)
            quoted += "\\ufffd";
        else if (c == '"' || c == '\\')
            quoted.append({'\\', c});
        else if (static_cast<unsigned char>(c) < 0x20)
            quoted.append("\\u00").append({hex[c >> 4], hex[c & 15]});
        else
            quoted.append(text, 0, length);
        text.remove_prefix(length == 0 ? 1 : length);
    }
    value(quoted + '"');
}

void json_writer::finish() {
    out_ << buffer_ << '\n';
    buffer_.clear();
}

} // namespace tool
