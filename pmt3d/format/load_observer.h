#pragma once
// The interface through which a load tells what it does not take from a file.

#include <cstdint>
#include <string_view>

namespace pmt3d {

// Where in a model file; what is 0 is not known.
struct file_place {
    std::uint64_t line = 0;     // from 1
    std::uint64_t byte = 0;     // offset, in a file without lines
    std::uint64_t triangle = 0; // from 1
};

// Loading does the same, and writes the same diagnostics, whether it has an observer or not. For programs
// that check files: it is told all that a diagnostic says, and what is passed over without one.
class load_observer {
public:
    virtual ~load_observer() = default;
    // A line, value, index or triangle that was left out, is no number, or was not there; `text` is one line
    // without its end, and may hold any bytes of the file.
    virtual void left_out(const file_place& place, std::string_view text) = 0;
    // The line has the path of a picture, as it stands in the file.
    virtual void named_picture(std::uint64_t line, std::string_view path) = 0;
};

} // namespace pmt3d
