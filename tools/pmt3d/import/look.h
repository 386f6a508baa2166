#pragma once
// What a surface of an imported file is dressed with.

#include <string>

namespace tool {

// Names as the file has them; "*" and a number is the picture of that number in the file. Empty: none.
struct look {
    std::string color;
    std::string normal; // a normal map whose zero is 128
    std::string height; // a height map, or a normal map that the file calls one
    std::string specular;
    std::string roughness_map; // in its green channel
    float roughness = -1;      // times the map; negative: the file does not say

    friend auto operator<=>(const look&, const look&) = default;
};

} // namespace tool
