#pragma once
// Where the files that belong to the program lie: the keyboard models and shaders of someone's own.

#include <string>

namespace quenvarel {

// The path without its extension but with the dot, so that "pmt" appended names the directory of the key
// models: "bin/quenvarel" and "bin/quenvarel.exe" both give "bin/quenvarel.".
std::string without_extension(const std::string& path);

// The base of those of the following that name an existing model directory, in this order: the program path
// as typed; the executable that really runs (a program found through PATH was typed without its directory);
// the directory ../share/quenvarel beside it. When none exists, that of the program path.
std::string model_base_path(const std::string& program_path);

// The file that this process was started from; empty when the system does not tell.
std::string executable_path();

} // namespace quenvarel
