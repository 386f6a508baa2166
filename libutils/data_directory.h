#pragma once
// Where the files of the user's own lie.

#include <string>

namespace libutils {

// The directory in which programs look for data that belong to the user: XDG_DATA_HOME, or .local/share in
// the home directory; on Windows APPDATA. Without a separator at its end. Empty when the system does not
// tell.
std::string data_directory();

} // namespace libutils
