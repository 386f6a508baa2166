#pragma once
// From one of Assimp's meshes to triangles of ours.

#include "tools/pmt3d/import/materials.h"
#include "tools/pmt3d/triangle_mesh.h"

#include <assimp/scene.h>

#include <cstdint>
#include <string>
#include <unordered_map>

namespace tool {

// The places of nodes, by name, for the meshes that hang on bones.
using node_places = std::unordered_map<std::string, aiMatrix4x4>;

// Triangles that were left out.
struct left_out {
    std::uint64_t not_numbers = 0;   // a corner is infinite or no number
    std::uint64_t wrong_indices = 0; // a corner is not there
};

// The mesh at a place, or where its bones bring it: colours times the material's, and normals, if need be
// made smooth. Through a mirror, triangles still wind counter-clockwise as seen from outside. Triangles with
// two corners in one place are left out.
triangle_mesh mesh_at(const aiMesh& mesh, const aiMatrix4x4& place, const node_places& joints,
                      const material& material, left_out& count);

bool has_area(const triangle_mesh& mesh);
void append(triangle_mesh& mesh, const triangle_mesh& more);

} // namespace tool
