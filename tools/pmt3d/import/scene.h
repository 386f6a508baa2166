#pragma once
// From Assimp's scenes to surfaces.

#include "tools/pmt3d/import/messages.h"

#include <assimp/scene.h>

#include <cstdint>

namespace tool {

struct scene_limits {
    std::uint64_t vertices = 0; // of all surfaces together
    bool linear_colors = false; // as glTF has them
};

// Sends the scene's surfaces and the pictures that it holds, then `end`; or a failure when there is no
// triangle with an area in it, or more vertices than the limit. Meshes are taken out of the scene as soon as
// they are no longer needed.
void send_scene(aiScene& scene, const scene_limits& limits, message_writer& out);

} // namespace tool
