#pragma once
// Finds the files that belong to the program: the keyboard models and the user's own shaders.

#include <string>

namespace quenvarel {

// The path without its extension but with the dot, so that "pmt" appended names the directory of the key
// models: "bin/quenvarel" and "bin/quenvarel.exe" both give "bin/quenvarel.".
std::string without_extension(const std::string& path);

// The first of these that names an existing model directory: the program path as typed; its name in the
// user's data directory, beside the executable that is running (a program found through PATH was typed
// without its directory), and in ../share/quenvarel beside that; then the same places with the name of the
// executable, which is another one when the program was started through a link. When none exists, the program
// path.
std::string model_base_path(const std::string& program_path);

} // namespace quenvarel
