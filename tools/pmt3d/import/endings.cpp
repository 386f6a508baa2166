#include "tools/pmt3d/import/endings.h"

#include <algorithm>
#include <cctype>
#include <iterator>

namespace tool {

std::string imported_ending(std::string_view name) {
    static constexpr std::string_view endings[] = {"gltf", "glb", "obj", "ply", "3mf", "dae", "fbx", "off"};
    std::string ending(name.substr(std::min(name.rfind('.') + 1, name.size())));
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char c) { return std::tolower(c); });
    const bool known = name.find('.') != name.npos &&
                       std::find(std::begin(endings), std::end(endings), ending) != std::end(endings);
    return known ? ending : std::string();
}

} // namespace tool
