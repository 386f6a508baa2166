#pragma once
// What the importing process sends through a pipe.

#include "tools/pmt3d/import/look.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace tool {

enum class message : std::uint8_t {
    note,       // text: something is left out
    failure,    // text: why nothing is loaded
    progress,   // two numbers: done, total
    scene_read, // Assimp is done; from here on it is our own code
    picture,    // number, name, bytes: a picture of the file
    surface,    // name, look, vertices, elements, then the vertices, the frames and the elements themselves
    end,        // all has been sent
};

class message_writer {
public:
    explicit message_writer(int pipe) : pipe_(pipe) {}

    void begin(message kind) { bytes(&kind, sizeof kind); }
    void number(std::uint64_t value) { bytes(&value, sizeof value); }
    void text(std::string_view text);
    void look_of(const look& look);
    // At once, with all before it.
    void bytes_now(const void* data, std::size_t size);
    void flush() { bytes_now(nullptr, 0); }

private:
    void bytes(const void* data, std::size_t size);

    int pipe_;
    std::string waiting_;
};

// Everything returns false once the sender is gone, or sends what cannot be.
class message_reader {
public:
    static constexpr std::uint64_t longest_text = 65536;

    explicit message_reader(int pipe) : pipe_(pipe) {}

    bool next(message& kind) { return bytes(&kind, sizeof kind); }
    bool number(std::uint64_t& value) { return bytes(&value, sizeof value); }
    bool text(std::string& text, std::uint64_t longest = longest_text);
    bool look_of(look& look);
    bool bytes(void* data, std::size_t size);

private:
    int pipe_;
    bool good_ = true;
};

} // namespace tool
