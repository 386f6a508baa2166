#include "tools/pmt3d/import/messages.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>

namespace tool {

void message_writer::bytes(const void* data, std::size_t size) {
    waiting_.append(static_cast<const char*>(data), size);
}

void message_writer::text(std::string_view text) {
    number(text.size());
    bytes(text.data(), text.size());
}

void message_writer::look_of(const look& look) {
    for (const std::string* name :
         {&look.color, &look.normal, &look.height, &look.specular, &look.roughness_map})
        text(*name);
    bytes(&look.roughness, sizeof look.roughness);
}

void message_writer::bytes_now(const void* data, std::size_t size) {
    const auto send = [this](const char* from, std::size_t left) {
        while (left > 0) {
            const ssize_t sent = write(pipe_, from, left);
            if (sent < 0 && errno == EINTR) continue;
            if (sent <= 0) _exit(1); // nobody is left to hear it
            from += sent;
            left -= std::size_t(sent);
        }
    };
    send(waiting_.data(), waiting_.size());
    waiting_.clear();
    send(static_cast<const char*>(data), size);
}

bool message_reader::bytes(void* data, std::size_t size) {
    char* to = static_cast<char*>(data);
    while (good_ && size > 0) {
        const ssize_t got = read(pipe_, to, size);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return good_ = false;
        to += got;
        size -= std::size_t(got);
    }
    return good_;
}

bool message_reader::text(std::string& text, std::uint64_t longest) {
    std::uint64_t size = 0;
    if (!number(size) || size > longest) return good_ = false;
    // What arrives is kept as it comes: the size alone is no reason to take memory.
    text.clear();
    constexpr std::uint64_t piece = 1 << 20;
    while (text.size() < size) {
        const std::size_t at = text.size();
        text.resize(at + std::min(piece, size - at));
        if (!bytes(text.data() + at, text.size() - at)) return false;
    }
    return true;
}

bool message_reader::look_of(look& look) {
    for (std::string* name : {&look.color, &look.normal, &look.height, &look.specular, &look.roughness_map})
        if (!text(*name)) return false;
    return bytes(&look.roughness, sizeof look.roughness);
}

} // namespace tool
