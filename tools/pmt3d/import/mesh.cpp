#include "tools/pmt3d/import/mesh.h"

#include "render/math/operations.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string_view>
#include <vector>

namespace tool {

namespace {

using pmt3d::element_t;

constexpr float default_smoothing = 30; // degrees

render::pos3 position(const aiVector3D& v) {
    return {v.x, v.y, v.z};
}

render::dir3 direction(const aiVector3D& v) {
    return {v.x, v.y, v.z};
}

bool is_finite(const render::pos3& p) {
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

float or_else(float value, float other) {
    return std::isfinite(value) ? value : other;
}

// How a place turns normals; their length may change.
aiMatrix3x3 normal_turn(const aiMatrix4x4& m) {
    const aiVector3D x(m.a1, m.b1, m.c1), y(m.a2, m.b2, m.c2), z(m.a3, m.b3, m.c3);
    const aiVector3D yz = y ^ z, zx = z ^ x, xy = x ^ y;
    const float sign = xy * z < 0 ? -1.0f : 1.0f;
    return {sign * yz.x, sign * zx.x, sign * xy.x, sign * yz.y, sign * zx.y,
            sign * xy.y, sign * yz.z, sign * zx.z, sign * xy.z};
}

bool mirrors(const aiMatrix4x4& m) {
    return aiMatrix3x3(m).Determinant() < 0;
}

// Where bones bring each vertex; empty without bones.
std::vector<aiMatrix4x4> bone_places(const aiMesh& mesh, const aiMatrix4x4& place,
                                     const node_places& joints) {
    std::vector<aiMatrix4x4> places;
    if (!mesh.HasBones()) return places;
    places.resize(mesh.mNumVertices, aiMatrix4x4() * 0.0f);
    std::vector<float> sums(mesh.mNumVertices);
    for (unsigned b = 0; b < mesh.mNumBones; ++b) {
        const aiBone& bone = *mesh.mBones[b];
        const auto joint = joints.find(bone.mName.C_Str());
        if (joint == joints.end()) continue;
        const aiMatrix4x4 moved = joint->second * bone.mOffsetMatrix;
        for (unsigned w = 0; w < bone.mNumWeights; ++w) {
            const auto [vertex, weight] = bone.mWeights[w];
            if (vertex >= mesh.mNumVertices || !(weight > 0)) continue;
            places[vertex] = places[vertex] + moved * weight;
            sums[vertex] += weight;
        }
    }
    for (unsigned v = 0; v < mesh.mNumVertices; ++v)
        places[v] = sums[v] > 0 ? places[v] * (1 / sums[v]) : place;
    return places;
}

render::col3a color_of(const aiMesh& mesh, unsigned vertex, const material& material) {
    if (!mesh.HasVertexColors(0)) {
        const float grey = 0.5f;
        if (material.plain) return {grey, grey, grey, 1};
    }
    const aiColor4D painted = mesh.HasVertexColors(0) ? mesh.mColors[0][vertex] : aiColor4D(1, 1, 1, 1);
    float channels[] = {painted.r * material.color.r, painted.g * material.color.g,
                        painted.b * material.color.b, material.opaque ? 1 : painted.a * material.color.a};
    for (float& channel : channels)
        channel = std::clamp(or_else(channel, 1.0f), 0.0f, 1.0f);
    if (material.linear)
        for (int i = 0; i < 3; ++i)
            channels[i] = screen_value(channels[i]);
    return {channels[0], channels[1], channels[2], channels[3]};
}

void take_vertices(triangle_mesh& made, const aiMesh& mesh, const aiMatrix4x4& place,
                   const std::vector<aiMatrix4x4>& moved, const material& material) {
    made.vertices.resize(mesh.mNumVertices);
    made.frames.resize(mesh.mNumVertices);
    const unsigned set = mesh.HasTextureCoords(material.texcoords) ? material.texcoords : 0;
    const aiVector3D* const texcoords = mesh.mTextureCoords[set];
    aiMatrix3x3 turn = normal_turn(place);
    const bool one_color = !mesh.HasVertexColors(0);
    const render::col3a color = color_of(mesh, 0, material);
    for (unsigned i = 0; i < mesh.mNumVertices; ++i) {
        pmt3d::vertex_t& vertex = made.vertices[i];
        vertex.position = position((moved.empty() ? place : moved[i]) * mesh.mVertices[i]);
        vertex.color = one_color ? color : color_of(mesh, i, material);
        if (texcoords) vertex.texcoord = {or_else(texcoords[i].x, 0), or_else(texcoords[i].y, 0)};
        if (!mesh.HasNormals()) continue;
        if (!moved.empty()) turn = normal_turn(moved[i]);
        const render::dir3 normal = direction(turn * mesh.mNormals[i]);
        const float length = render::length(normal);
        // A normal that is none is made from the triangles.
        if (std::isnormal(length)) made.frames[i].normal = normal * (1 / length);
    }
}

void take_triangles(triangle_mesh& made, const aiMesh& mesh, bool mirrored, left_out& count) {
    made.triangles.reserve(mesh.mNumFaces);
    for (unsigned f = 0; f < mesh.mNumFaces; ++f) {
        const aiFace& face = mesh.mFaces[f];
        if (face.mNumIndices != 3) continue; // points and lines
        pmt3d::triangle corners = {face.mIndices[0], face.mIndices[1], face.mIndices[2]};
        if (mirrored) std::swap(corners[1], corners[2]);
        if (std::any_of(corners.begin(), corners.end(),
                        [&](element_t corner) { return corner >= made.vertices.size(); })) {
            ++count.wrong_indices;
            continue;
        }
        const render::pos3 &a = made.vertices[corners[0]].position, &b = made.vertices[corners[1]].position,
                           &c = made.vertices[corners[2]].position;
        if (!is_finite(a) || !is_finite(b) || !is_finite(c)) {
            ++count.not_numbers;
            continue;
        }
        if (a == b || b == c || c == a) continue;
        made.triangles.push_back(corners);
    }
}

// Removes the vertices that no triangle has: those of points and lines, and those that are no numbers, which
// a model file cannot hold.
void drop_unused(triangle_mesh& mesh) {
    std::vector<element_t> place(mesh.vertices.size());
    for (const pmt3d::triangle& t : mesh.triangles)
        for (const element_t corner : t)
            place[corner] = 1;
    if (std::find(place.begin(), place.end(), 0) == place.end()) return;
    element_t kept = 0;
    for (std::size_t i = 0; i < place.size(); ++i) {
        if (place[i] == 0) continue;
        mesh.vertices[kept] = mesh.vertices[i];
        mesh.frames[kept] = mesh.frames[i];
        place[i] = kept++;
    }
    mesh.vertices.resize(kept);
    mesh.frames.resize(kept);
    for (pmt3d::triangle& t : mesh.triangles)
        for (element_t& corner : t)
            corner = place[corner];
}

// Makes vertices one that are the same in everything: many formats have three for each triangle, and strips
// need neighbours that share theirs.
void share_vertices(triangle_mesh& mesh) {
    struct key {
        pmt3d::vertex_t vertex;
        render::dir3 normal;
    };
    static_assert(sizeof(key) == 12 * sizeof(float));
    const auto key_of = [&](element_t i) {
        key made{mesh.vertices[i], mesh.frames[i].normal};
        float* const floats = reinterpret_cast<float*>(&made);
        for (int f = 0; f < 12; ++f)
            floats[f] += 0.0f; // -0 is 0
        return made;
    };
    std::size_t size = 16;
    while (size < 2 * mesh.vertices.size())
        size *= 2;
    constexpr element_t none = 0xFFFFFFFF;
    std::vector<element_t> table(size, none), place(mesh.vertices.size());
    element_t kept = 0;
    for (element_t i = 0; i < mesh.vertices.size(); ++i) {
        const key wanted = key_of(i);
        const std::string_view bytes(reinterpret_cast<const char*>(&wanted), sizeof wanted);
        std::size_t at = std::hash<std::string_view>()(bytes) & (size - 1);
        for (; table[at] != none; at = (at + 1) & (size - 1)) {
            const key there = key_of(table[at]);
            if (std::memcmp(&there, &wanted, sizeof wanted) == 0) break;
        }
        if (table[at] == none) {
            mesh.vertices[kept] = mesh.vertices[i];
            mesh.frames[kept] = mesh.frames[i];
            table[at] = kept++;
        }
        place[i] = table[at];
    }
    mesh.vertices.resize(kept);
    mesh.frames.resize(kept);
    for (pmt3d::triangle& t : mesh.triangles)
        for (element_t& corner : t)
            corner = place[corner];
}

} // namespace

triangle_mesh mesh_at(const aiMesh& mesh, const aiMatrix4x4& place, const node_places& joints,
                      const material& material, left_out& count) {
    const std::vector<aiMatrix4x4> moved = bone_places(mesh, place, joints);
    triangle_mesh made;
    take_vertices(made, mesh, place, moved, material);
    take_triangles(made, mesh, mirrors(moved.empty() ? place : moved.front()), count);
    drop_unused(made);
    if (!mesh.HasNormals())
        weld_and_smooth(made, default_smoothing);
    else if (made.vertices.size() >= 2 * made.triangles.size())
        share_vertices(made);
    return made;
}

bool has_area(const triangle_mesh& mesh) {
    return std::any_of(mesh.triangles.begin(), mesh.triangles.end(), [&](const pmt3d::triangle& t) {
        const render::pos3 &a = mesh.vertices[t[0]].position, &b = mesh.vertices[t[1]].position,
                           &c = mesh.vertices[t[2]].position;
        return render::length(render::cross(b - a, c - b)) > 0.0f;
    });
}

void append(triangle_mesh& mesh, const triangle_mesh& more) {
    const auto first = element_t(mesh.vertices.size());
    mesh.vertices.insert(mesh.vertices.end(), more.vertices.begin(), more.vertices.end());
    mesh.frames.insert(mesh.frames.end(), more.frames.begin(), more.frames.end());
    for (const auto& [a, b, c] : more.triangles)
        mesh.triangles.push_back({first + a, first + b, first + c});
}

} // namespace tool
