// Models of other programs. The first byte says what the others are: below 128 a scene as Assimp could hand
// it to us, field by field, so that our part is seen from within; else a file of one of the formats, read in
// a process of its own as the tool does it.

#include "tools/pmt3d/import/import.h"
#include "fuzz/target.h"
#include "pmt3d/format/dispatch.h"
#include "tools/pmt3d/import/messages.h"
#include "tools/pmt3d/import/scene.h"

#include <assimp/GltfMaterial.h>
#include <assimp/scene.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

using fuzz::demand;

namespace {

// The input as numbers; zeros follow its end.
class numbers {
public:
    numbers(const std::uint8_t* data, std::size_t size) : at_(data), end_(data + size) {}
    unsigned byte() { return at_ < end_ ? *at_++ : 0u; }
    unsigned below(unsigned most) { return byte() % most; }
    float number() {
        const unsigned b = byte();
        if (b < 240) return float(int(b) - 120) / 8;
        if (b < 250) return std::ldexp(1.0f, int(b - 245) * 30);
        float any = 0;
        unsigned bits = 0;
        for (int i = 0; i < 4; ++i)
            bits = bits << 8 | byte();
        std::memcpy(&any, &bits, sizeof any);
        return any;
    }
    aiVector3D vector() {
        const float x = number(), y = number();
        return {x, y, number()};
    }

private:
    const std::uint8_t *at_, *end_;
};

const char* const names[] = {"", "*0", "*1", "*99", "t.tga", "missing.png", "a\nb", "bone"};

aiMesh* make_mesh(numbers& in, unsigned materials) {
    auto mesh = new aiMesh;
    mesh->mMaterialIndex = in.below(materials + 2);
    mesh->mNumVertices = 1 + in.below(24);
    const auto vectors = [&] {
        auto made = new aiVector3D[mesh->mNumVertices];
        std::generate_n(made, mesh->mNumVertices, [&] { return in.vector(); });
        return made;
    };
    const unsigned has = in.byte();
    mesh->mVertices = vectors();
    if (has & 1) mesh->mNormals = vectors();
    if (has & 2) mesh->mTextureCoords[0] = vectors();
    if (has & 4) mesh->mTextureCoords[1] = vectors();
    if (has & 8) {
        mesh->mColors[0] = new aiColor4D[mesh->mNumVertices];
        for (unsigned i = 0; i < mesh->mNumVertices; ++i)
            mesh->mColors[0][i] = {in.number(), in.number(), in.number(), in.number()};
    }
    mesh->mNumFaces = in.below(24);
    mesh->mFaces = new aiFace[mesh->mNumFaces];
    for (unsigned f = 0; f < mesh->mNumFaces; ++f) {
        aiFace& face = mesh->mFaces[f];
        face.mNumIndices = has & 16 ? 1 + in.below(4) : 3;
        face.mIndices = new unsigned[face.mNumIndices];
        std::generate_n(face.mIndices, face.mNumIndices, [&] { return in.below(26); });
    }
    if (has & 32) {
        mesh->mNumBones = 1;
        mesh->mBones = new aiBone* [1] { new aiBone };
        aiBone& bone = *mesh->mBones[0];
        bone.mName.Set(names[in.below(8)]);
        bone.mNumWeights = in.below(8);
        bone.mWeights = new aiVertexWeight[bone.mNumWeights];
        for (unsigned w = 0; w < bone.mNumWeights; ++w)
            bone.mWeights[w] = {in.below(30), in.number()};
    }
    return mesh;
}

aiMaterial* make_material(numbers& in) {
    auto material = new aiMaterial;
    const aiColor4D color(in.number(), in.number(), in.number(), in.number());
    const unsigned has = in.byte();
    if (has & 1) material->AddProperty(&color, 1, AI_MATKEY_BASE_COLOR);
    if (has & 2) material->AddProperty(&color, 1, AI_MATKEY_COLOR_DIFFUSE);
    const float number = in.number();
    if (has & 4) material->AddProperty(&number, 1, AI_MATKEY_ROUGHNESS_FACTOR);
    if (has & 8) material->AddProperty(&number, 1, AI_MATKEY_OPACITY);
    for (unsigned i = has >> 4; i > 0; --i) {
        const aiString name(names[in.below(8)]);
        const auto kind = aiTextureType(in.below(19));
        material->AddProperty(&name, AI_MATKEY_TEXTURE(kind, 0));
        const int set = int(in.below(12)) - 1;
        material->AddProperty(&set, 1, AI_MATKEY_UVWSRC(kind, 0));
    }
    return material;
}

std::unique_ptr<aiScene> make_scene(numbers& in) {
    auto scene = std::make_unique<aiScene>();
    scene->mNumMaterials = in.below(4);
    scene->mMaterials = new aiMaterial*[4];
    for (unsigned i = 0; i < scene->mNumMaterials; ++i)
        scene->mMaterials[i] = make_material(in);
    scene->mNumMeshes = in.below(4);
    scene->mMeshes = new aiMesh*[4];
    for (unsigned i = 0; i < scene->mNumMeshes; ++i)
        scene->mMeshes[i] = make_mesh(in, scene->mNumMaterials);
    scene->mNumTextures = in.below(3);
    scene->mTextures = new aiTexture*[3];
    for (unsigned i = 0; i < scene->mNumTextures; ++i) {
        auto texture = scene->mTextures[i] = new aiTexture;
        texture->mWidth = in.below(16);
        texture->pcData = new aiTexel[texture->mWidth + 1]();
    }
    scene->mRootNode = new aiNode("root");
    aiNode* parent = scene->mRootNode;
    const unsigned nodes = in.below(8), repeated = in.below(8) == 7 ? 200 : 1;
    for (unsigned i = 0; i < nodes; ++i) {
        auto node = new aiNode(names[in.below(8)]);
        for (unsigned k = 0; k < 16; ++k)
            node->mTransformation[k / 4][k % 4] = in.byte() & 1 ? in.number() : float(k % 5 == 0);
        node->mNumMeshes = repeated * in.below(3);
        node->mMeshes = new unsigned[node->mNumMeshes];
        std::generate_n(node->mMeshes, node->mNumMeshes, [&] { return in.below(5); });
        parent->addChildren(1, &node);
        if (in.byte() & 1) parent = node;
    }
    return scene;
}

void check(std::span<const pmt3d::vertex_t> vertices, std::span<const pmt3d::frame_t> frames) {
    for (const pmt3d::vertex_t& vertex : vertices)
        for (int i = 0; i < 9; ++i)
            demand(std::isfinite(reinterpret_cast<const float*>(&vertex)[i]), "a vertex is made of numbers");
    for (const pmt3d::frame_t& frame : frames)
        for (int i = 0; i < 9; ++i)
            demand(std::isfinite(reinterpret_cast<const float*>(&frame)[i]), "and so is its frame");
}

void convert_scene(numbers in) {
    const bool linear = in.byte() & 1;
    const std::unique_ptr<aiScene> scene = make_scene(in);
    const int file = memfd_create("messages", 0);
    demand(file >= 0, "there is memory for the messages");
    tool::message_writer out(file);
    tool::send_scene(*scene, {100'000, linear}, out);
    lseek(file, 0, SEEK_SET);
    tool::message_reader sent(file);
    tool::message kind{};
    for (bool ended = false; !ended;) {
        demand(sent.next(kind), "there is an end");
        std::string text;
        std::uint64_t number = 0, elements = 0;
        tool::look dress;
        switch (kind) {
        case tool::message::note:
            demand(sent.text(text) && !text.empty(), "a note says something");
            break;
        case tool::message::picture:
            demand(sent.number(number) && sent.text(text) && sent.text(text), "a picture is whole");
            break;
        case tool::message::surface: {
            demand(sent.text(text) && sent.look_of(dress) && sent.number(number) && sent.number(elements),
                   "a surface is announced");
            std::vector<pmt3d::vertex_t> vertices(number);
            std::vector<pmt3d::frame_t> frames(number);
            std::vector<pmt3d::element_t> strips(elements);
            demand(sent.bytes(vertices.data(), number * sizeof vertices[0]) &&
                       sent.bytes(frames.data(), number * sizeof frames[0]) &&
                       sent.bytes(strips.data(), elements * sizeof strips[0]),
                   "and comes");
            check(vertices, frames);
            for (const pmt3d::element_t element : strips)
                demand(element < number || element == pmt3d::strip_end, "elements are vertices");
            demand(elements >= 3, "a surface has a triangle");
            break;
        }
        default:
            ended = true;
            demand(kind == tool::message::end || kind == tool::message::failure, "no more than that is sent");
        }
    }
    close(file);
}

struct line_counter : pmt3d::load_observer {
    void left_out(const pmt3d::file_place&, std::string_view text) override {
        ++lines;
        demand(text.find('\n') == text.npos, "what is left out is said in one line");
    }
    void named_picture(std::uint64_t, std::string_view) override {}
    int lines = 0;
};

void import_file(const std::uint8_t* data, std::size_t size) {
    static const char* const files[] = {"i.gltf", "i.glb", "i.obj", "i.ply",
                                        "i.3mf",  "i.dae", "i.fbx", "i.off"};
    const std::string name = fuzz::input_file(files[data[0] % 8], data + 1, size - 1);
    const fuzz::messages messages; // of the readers of pictures
    line_counter said;
    pmt3d::model_t model;
    tool::made_pictures pictures;
    const tool::import_end end =
        tool::import_model(model, name, pictures, {std::cerr, {}, {}, 0, nullptr, &said});
    demand(end != tool::import_end::we_broke, "our part does not break");
    if (end != tool::import_end::done) {
        demand(said.lines > 0, "a file that is not loaded has a line");
        return;
    }
    demand(!model.items.empty(), "a file that is loaded has a surface");
    for (const pmt3d::model_item_t& item : model.items)
        check(item.polygon.vertices(), item.polygon.normals());
    demand(pictures.keep(model, fuzz::files().file("out.pmt")) &&
               pmt3d::save(model, fuzz::files().file("out.pmt")),
           "what is imported can be saved");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    if (data[0] < 128)
        convert_scene({data + 1, size - 1});
    else
        import_file(data, size);
    return 0;
}
