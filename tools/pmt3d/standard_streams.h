#pragma once
// The standard streams as files: bytes that nothing translates.

#include <string>
#include <string_view>

namespace tool {

// What the command line calls them.
inline constexpr std::string_view standard_stream = "-";

// All of it. False, reported, when it cannot be read or has more than 4 GiB.
bool read_standard_input(std::string& bytes);

// From now on what is written to std::cout stays as it is, line ends included.
void make_standard_output_binary();

} // namespace tool
