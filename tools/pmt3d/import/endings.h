#pragma once
// The endings of the formats that are imported.

#include <string>
#include <string_view>

namespace tool {

// The name's ending in lower case and without its dot; empty when it is none that is imported.
std::string imported_ending(std::string_view name);

} // namespace tool
