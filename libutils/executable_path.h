#pragma once
// The path of the running program.

#include <string>

namespace libutils {

// The file that this process was started from; empty when the system does not tell.
std::string executable_path();

} // namespace libutils
