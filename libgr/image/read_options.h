#pragma once
// Options for reading a picture: its memory limit, and how to interpret ambiguous files.

#include <cstdint>
#include <string>

namespace libgr {

struct read_options {
    // Memory for the pixels and for decoding them. The default is the size of the largest texture: 16384 by
    // 16384 pixels of four bytes.
    std::uint64_t most_bytes = std::uint64_t(1) << 30;
    // BMP and TGA as their authors mean them: a fourth channel that the header calls no alpha, or that is
    // zero everywhere, is dropped, and numbers of greys become luminance.
    bool as_meant = false;
};

// Whether a picture that needs so much memory may be read; otherwise one line with both numbers.
bool is_allowed(std::uint64_t bytes, const read_options& options, const std::string& name);

} // namespace libgr
