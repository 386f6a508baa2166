#include "tools/pmt3d/import/scene.h"

#include "libutils/free_memory.h"
#include "pmt3d/surface/stripping.h"
#include "tools/pmt3d/import/import.h"
#include "tools/pmt3d/import/materials.h"
#include "tools/pmt3d/import/mesh.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace tool {

namespace {

// A mesh at a place.
struct instance {
    const aiNode* node;
    aiMatrix4x4 place;
    unsigned mesh;
};

// The process that receives the surfaces takes as much memory as is free now.
void give_back(const triangle_mesh& made) {
    if (made.vertices.size() > 10'000) libutils::give_back_free_memory();
}

class scene_sender {
public:
    scene_sender(aiScene& scene, const scene_limits& limits, message_writer& out)
        : scene_(scene),
          limits_(limits),
          out_(out) {}

    void run() {
        for (unsigned i = 0; i <= scene_.mNumMaterials; ++i)
            materials_.push_back(material_of(scene_, i, limits_.linear_colors));
        collect();
        uses_.resize(scene_.mNumMeshes);
        for (const instance& i : instances_)
            ++uses_[i.mesh];
        for (const std::vector<instance>& group : groups())
            if (!send(group)) return;
        if (sent_ == 0) {
            fail("there is no triangle with an area in it.");
            return;
        }
        note(left_out_.not_numbers, "with a corner that is no number");
        note(left_out_.wrong_indices, "with a corner that is not there");
        out_.begin(message::end);
        out_.flush();
    }

private:
    // The meshes of all nodes at their places, a node before its children.
    void collect() {
        std::vector<std::pair<const aiNode*, aiMatrix4x4>> to_do; // with the place of the parent
        const bool skinned = std::any_of(scene_.mMeshes, scene_.mMeshes + scene_.mNumMeshes,
                                         [](const aiMesh* mesh) { return mesh->HasBones(); });
        if (scene_.mRootNode) to_do.emplace_back(scene_.mRootNode, aiMatrix4x4());
        while (!to_do.empty()) {
            const auto [node, parent] = to_do.back();
            to_do.pop_back();
            const aiMatrix4x4 place = parent * node->mTransformation;
            if (skinned) joints_.emplace(node->mName.C_Str(), place);
            for (unsigned i = 0; i < node->mNumMeshes; ++i)
                if (is_usable(node->mMeshes[i])) instances_.push_back({node, place, node->mMeshes[i]});
            for (unsigned i = node->mNumChildren; i-- > 0;)
                to_do.emplace_back(node->mChildren[i], place);
        }
    }

    bool is_usable(unsigned mesh) const {
        return mesh < scene_.mNumMeshes && scene_.mMeshes[mesh]->HasPositions() &&
               scene_.mMeshes[mesh]->HasFaces();
    }

    const material& material_of_mesh(unsigned mesh) const {
        return materials_[std::min<std::size_t>(scene_.mMeshes[mesh]->mMaterialIndex, materials_.size() - 1)];
    }

    // What becomes one surface each.
    std::vector<std::vector<instance>> groups() const {
        std::vector<std::vector<instance>> made;
        if (instances_.size() <= most_surfaces) {
            for (const instance& i : instances_)
                made.push_back({i});
            return made;
        }
        std::map<look, std::size_t> by_look;
        for (const instance& i : instances_) {
            const auto [at, added] = by_look.try_emplace(material_of_mesh(i.mesh).dress, made.size());
            if (added) made.emplace_back();
            made[at->second].push_back(i);
        }
        return made;
    }

    // False when that was the end of it.
    bool send(const std::vector<instance>& group) {
        const look dress = material_of_mesh(group.front().mesh).dress;
        const std::string name = name_of(group.front());
        triangle_mesh whole;
        for (const instance& i : group) {
            const std::uint64_t more = scene_.mMeshes[i.mesh]->mNumVertices;
            if (more > limits_.vertices - vertices_)
                return fail("it has more than the " + std::to_string(limits_.vertices) +
                            " vertices that its size allows; pmt3d --vertices N allows more.");
            vertices_ += more;
            triangle_mesh part =
                mesh_at(*scene_.mMeshes[i.mesh], i.place, joints_, material_of_mesh(i.mesh), left_out_);
            if (--uses_[i.mesh] == 0) delete std::exchange(scene_.mMeshes[i.mesh], nullptr);
            give_back(part);
            if (!has_area(part)) continue;
            if (whole.triangles.empty())
                whole = std::move(part);
            else
                append(whole, part);
        }
        if (whole.triangles.empty()) return true;
        complete_frames(whole);
        for (const std::string* picture :
             {&dress.color, &dress.normal, &dress.height, &dress.specular, &dress.roughness_map})
            send_picture(*picture);
        const std::vector<pmt3d::element_t> elements =
            pmt3d::make_strips(whole.triangles, pmt3d::element_t(whole.vertices.size()));
        whole.triangles = {};
        give_back(whole);
        out_.begin(message::surface);
        out_.text(name);
        out_.look_of(dress);
        out_.number(whole.vertices.size());
        out_.number(elements.size());
        out_.bytes_now(whole.vertices.data(), whole.vertices.size() * sizeof whole.vertices[0]);
        out_.bytes_now(whole.frames.data(), whole.frames.size() * sizeof whole.frames[0]);
        out_.bytes_now(elements.data(), elements.size() * sizeof elements[0]);
        ++sent_;
        return true;
    }

    // The node's name, or else the mesh's, as far as it goes in a line.
    std::string name_of(const instance& i) const {
        const aiString& name = i.node->mName.length > 0 ? i.node->mName : scene_.mMeshes[i.mesh]->mName;
        std::string text(name.data, std::min<std::size_t>(name.length, 200));
        std::replace_if(
            text.begin(), text.end(), [](unsigned char c) { return c < ' '; }, '_');
        return text;
    }

    // A picture that the file holds, once.
    void send_picture(const std::string& name) {
        unsigned number = 0;
        if (!name.starts_with('*') ||
            std::from_chars(name.data() + 1, name.data() + name.size(), number).ec != std::errc() ||
            number >= scene_.mNumTextures || !pictures_.insert(number).second)
            return;
        const aiTexture& texture = *scene_.mTextures[number];
        if (texture.mHeight != 0) return; // plain pixels: none of our formats has them
        out_.begin(message::picture);
        out_.number(number);
        out_.text(texture.mFilename.C_Str());
        out_.number(texture.mWidth);
        out_.bytes_now(texture.pcData, texture.mWidth);
    }

    void note(std::uint64_t triangles, const char* why) {
        if (triangles == 0) return;
        out_.begin(message::note);
        out_.text(std::to_string(triangles) + (triangles == 1 ? " triangle " : " triangles ") + why +
                  (triangles == 1 ? " is" : " are") + " left out.");
    }

    bool fail(const std::string& why) {
        out_.begin(message::failure);
        out_.text(why);
        out_.flush();
        return false;
    }

    aiScene& scene_;
    const scene_limits& limits_;
    message_writer& out_;
    std::vector<material> materials_; // and one more, for meshes without
    std::vector<instance> instances_;
    std::vector<std::uint32_t> uses_; // of each mesh, still to come
    node_places joints_;              // when there are bones
    std::set<unsigned> pictures_;     // that have been sent
    std::uint64_t vertices_ = 0, sent_ = 0;
    left_out left_out_;
};

} // namespace

void send_scene(aiScene& scene, const scene_limits& limits, message_writer& out) {
    scene_sender(scene, limits, out).run();
}

} // namespace tool
