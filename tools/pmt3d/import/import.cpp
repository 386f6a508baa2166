#include "tools/pmt3d/import/import.h"

#include "pmt3d/format/vertex_limit.h"
#include "tools/pmt3d/import/contained.h"
#include "tools/pmt3d/import/endings.h"
#include "tools/pmt3d/import/limited_files.h"
#include "tools/pmt3d/import/messages.h"
#include "tools/pmt3d/import/scene.h"

#include <assimp/BaseImporter.h>
#include <assimp/Importer.hpp>
#include <assimp/ProgressHandler.hpp>
#include <assimp/config.h>
#include <assimp/postprocess.h>

#include <algorithm>
#include <memory>
#include <set>
#include <vector>

namespace tool {

namespace {

using pmt3d::model_item_t;

// The line that Assimp gives for its failure.
std::string one_line(const char* error) {
    std::string text = std::string(error).substr(0, 300);
    text = text.substr(0, text.find_last_not_of(" \t\r\n") + 1);
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < ' '; }, ' ');
    return text.empty() ? "it cannot be read." : text;
}

class progress_sender : public Assimp::ProgressHandler {
public:
    explicit progress_sender(message_writer& out) : out_(out) {}
    bool Update(float part) override {
        if (!(part >= 0 && part <= 1)) return true;
        out_.begin(message::progress);
        out_.number(std::uint64_t(part * 100));
        out_.number(100);
        out_.flush();
        return true;
    }

private:
    message_writer& out_;
};

// Only the reader of this ending: Assimp would let others try a file that looks like theirs.
void keep_reader(Assimp::Importer& importer, const std::string& ending) {
    std::vector<Assimp::BaseImporter*> others;
    for (std::size_t i = 0; i < importer.GetImporterCount(); ++i) {
        std::set<std::string> endings;
        importer.GetImporter(i)->GetExtensionList(endings);
        if (!endings.contains(ending)) others.push_back(importer.GetImporter(i));
    }
    for (Assimp::BaseImporter* const other : others)
        importer.UnregisterLoader(other);
}

// In the process of its own.
void read_and_send(const std::string& name, const pmt3d::load_context& context, int pipe) {
    message_writer out(pipe);
    const std::string ending = imported_ending(name);
    // It goes with its process: to take a deep scene apart would be one more thing that can fail.
    Assimp::Importer& importer = *new Assimp::Importer;
    keep_reader(importer, ending);
    auto* const files = new limited_files(contained_process::allow_for);
    importer.SetIOHandler(files);
    if (context.progress) importer.SetProgressHandler(new progress_sender(out));
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_NO_SKELETON_MESHES, true); // they stand for bones or cameras
    if (!importer.ReadFile(name, aiProcess_Triangulate)) {
        out.begin(message::failure);
        out.text(files->refusal().empty() ? one_line(importer.GetErrorString()) : files->refusal());
        out.flush();
        return;
    }
    out.begin(message::scene_read);
    out.flush();
    const pmt3d::vertex_limit vertices(files->bytes(), context.allowed_vertices);
    send_scene(*importer.GetOrphanedScene(), {vertices.most(), ending == "gltf" || ending == "glb"}, out);
}

// What the other process sends.
class receiver {
public:
    receiver(pmt3d::model_t& model, const std::string& name, made_pictures& pictures,
             const pmt3d::load_context& context)
        : model_(model),
          name_(name),
          pictures_(pictures),
          context_(context) {}

    void run(int pipe) {
        message_reader in(pipe);
        for (message kind{}; !ended_ && in.next(kind) && take(kind, in);) {
        }
    }
    bool ended() const { return ended_; }
    bool scene_read() const { return scene_read_; }
    const std::string& failure() const { return failure_; }

private:
    bool take(message kind, message_reader& in) {
        switch (kind) {
        case message::note: {
            std::string text;
            if (!in.text(text)) return false;
            say(context_.observer, name_, text);
            return true;
        }
        case message::failure:
            return in.text(failure_) && false;
        case message::progress: {
            std::uint64_t done = 0, total = 0;
            if (!in.number(done) || !in.number(total)) return false;
            if (context_.progress) context_.progress(std::min(done, total), total);
            return true;
        }
        case message::scene_read:
            return scene_read_ = true;
        case message::picture: {
            std::uint64_t number = 0;
            std::string name, bytes;
            if (!in.number(number) || !in.text(name) || !in.text(bytes, limited_files::most_bytes))
                return false;
            pictures_.add(number, name, bytes);
            return true;
        }
        case message::surface:
            return take_surface(in);
        case message::end:
            ended_ = true;
            return true;
        }
        return false;
    }

    bool take_surface(message_reader& in) {
        std::string name;
        look dress;
        std::uint64_t vertices = 0, elements = 0;
        if (!in.text(name) || !in.look_of(dress) || !in.number(vertices) || !in.number(elements))
            return false;
        model_item_t& item = model_.items.emplace_back();
        pmt3d::polygon_t& polygon = item.polygon;
        if (!polygon.allocate(vertices, elements)) {
            failure_ = "there is no memory for its surfaces.";
            return false;
        }
        if (!in.bytes(polygon.edit_vertices().data(), polygon.edit_vertices().size_bytes()) ||
            !in.bytes(polygon.edit_normals().data(), polygon.edit_normals().size_bytes()) ||
            !in.bytes(polygon.edit_elements().data(), polygon.edit_elements().size_bytes()))
            return false;
        polygon.rebuildpolyids(name);
        item.texture = pictures_.options_for(dress);
        if (context_.pictures) context_.pictures->open_surface(item.texture);
        return true;
    }

    pmt3d::model_t& model_;
    const std::string& name_;
    made_pictures& pictures_;
    const pmt3d::load_context& context_;
    bool ended_ = false, scene_read_ = false;
    std::string failure_;
};

} // namespace

import_end import_model(pmt3d::model_t& model, const std::string& name, made_pictures& pictures,
                        const pmt3d::load_context& context) {
    if (context.pictures) context.pictures->begin(name);
    pictures.begin(name, context.observer);
    contained_process reading([&](int pipe) { read_and_send(name, context, pipe); });
    receiver received(model, name, pictures, context);
    if (reading.started()) received.run(reading.pipe());
    if (received.ended()) return import_end::done;

    import_end end = import_end::refused;
    std::string why = received.failure();
    if (why.empty()) {
        switch (reading.end()) {
        case contained_process::end_t::out_of_memory:
            why = "it needs more memory than its size allows.";
            break;
        case contained_process::end_t::out_of_time:
            why = "it takes more time than its size allows.";
            break;
        default:
            why = "it breaks its reader.";
            end = received.scene_read() ? import_end::we_broke : import_end::reader_broke;
        }
    }
    say(context.observer, name, "not loaded: " + why);
    return end;
}

} // namespace tool
