#include "tools/pmt3d/import/materials.h"

#include <assimp/GltfMaterial.h>
#include <assimp/material.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <initializer_list>
#include <string_view>
#include <utility>

namespace tool {

namespace {

// A name as a line of a model file can hold it.
bool can_be_named(std::string_view name) {
    return name.size() <= 4096 &&
           std::none_of(name.begin(), name.end(), [](unsigned char c) { return c < ' '; });
}

// The name of the first picture of these kinds that the material has.
std::string picture(const aiScene& scene, const aiMaterial& from, unsigned* texcoords,
                    std::initializer_list<aiTextureType> kinds) {
    for (const aiTextureType kind : kinds) {
        aiString path;
        unsigned set = 0;
        if (from.GetTexture(kind, 0, &path, nullptr, &set) != AI_SUCCESS || path.length == 0) continue;
        const std::string name(path.data, path.length);
        if (!can_be_named(name)) continue;
        if (texcoords) *texcoords = set;
        // A picture in the file may also be meant by its name.
        const auto [embedded, number] = scene.GetEmbeddedTextureAndIndex(name.c_str());
        return embedded ? std::string("*").append(std::to_string(number)) : name;
    }
    return {};
}

} // namespace

float screen_value(float light) {
    if (!(light > 0.0f)) return 0.0f;
    if (light >= 1.0f) return 1.0f;
    return light <= 0.0031308f ? 12.92f * light : 1.055f * std::pow(light, 1 / 2.4f) - 0.055f;
}

material material_of(const aiScene& scene, unsigned index, bool linear) {
    material made;
    made.linear = linear;
    if (index >= scene.mNumMaterials) {
        made.plain = true;
        return made;
    }
    const aiMaterial& from = *scene.mMaterials[index];
    unsigned* const set = &made.texcoords;
    // The set of the picture that shows most counts for all.
    made.dress.specular = picture(scene, from, set, {aiTextureType_SPECULAR});
    made.dress.roughness_map =
        picture(scene, from, set, {aiTextureType_DIFFUSE_ROUGHNESS, aiTextureType_UNKNOWN});
    made.dress.height = picture(scene, from, set, {aiTextureType_HEIGHT});
    made.dress.normal = picture(scene, from, set, {aiTextureType_NORMALS, aiTextureType_NORMAL_CAMERA});
    made.dress.color = picture(scene, from, set, {aiTextureType_BASE_COLOR, aiTextureType_DIFFUSE});
    if (!made.dress.normal.empty()) made.dress.height.clear();
    float roughness = 0;
    if (from.Get(AI_MATKEY_ROUGHNESS_FACTOR, roughness) == AI_SUCCESS && roughness >= 0 && roughness <= 1)
        made.dress.roughness = roughness;

    aiString name;
    const bool nameless =
        from.Get(AI_MATKEY_NAME, name) != AI_SUCCESS || name == aiString(AI_DEFAULT_MATERIAL_NAME);
    aiColor4D color(1, 1, 1, 1);
    const bool told = from.Get(AI_MATKEY_BASE_COLOR, color) == AI_SUCCESS ||
                      from.Get(AI_MATKEY_COLOR_DIFFUSE, color) == AI_SUCCESS;
    // This grey is Assimp's, for files without materials.
    if (!told || (nameless && color == aiColor4D(0.6f, 0.6f, 0.6f, 1))) {
        made.plain = made.dress.color.empty();
        color = {1, 1, 1, 1};
    }
    // Some programs write black beside a picture and mean the picture; and what only shines shows its light.
    if (color.IsBlack()) {
        if (made.dress.color.empty()) made.dress.color = picture(scene, from, set, {aiTextureType_EMISSIVE});
        if (!made.dress.color.empty()) color = {1, 1, 1, color.a};
    }
    float opacity = 1;
    if (!linear && from.Get(AI_MATKEY_OPACITY, opacity) == AI_SUCCESS && opacity > 0) color.a *= opacity;
    aiString mode;
    made.opaque = from.Get(AI_MATKEY_GLTF_ALPHAMODE, mode) == AI_SUCCESS && mode == aiString("OPAQUE");
    made.color = {color.r, color.g, color.b, color.a};
    return made;
}

} // namespace tool
