#pragma once
// Converts file names between the command line or model files and the standard library.

#include <filesystem>
#include <string>

namespace libutils {

// The path of a name. Names are bytes in the system's own encoding, which on Windows is the ANSI code page;
// the standard library would decode them differently there and find another file or none.
std::filesystem::path file_path(const std::string& name);
// The name of a path, with slashes between folders.
std::string file_name(const std::filesystem::path& path);

} // namespace libutils
