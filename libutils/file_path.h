#pragma once
// File names as the command line and the model files give them, for the standard library.

#include <filesystem>
#include <string>

namespace libutils {

// The file that a name stands for. Names are bytes in the system's own encoding, which on Windows is the ANSI
// code page; the standard library would take every byte for a character there, and find another file or none.
std::filesystem::path file_path(const std::string& name);
// The name that stands for a file, with slashes between folders.
std::string file_name(const std::filesystem::path& path);

} // namespace libutils
