// Model files of any bytes, moved, merged and smoothed: what comes of a model can be saved and loaded.

#include "tools/pmt3d/reshaping.h"
#include "fuzz/target.h"
#include "pmt3d/format/dispatch.h"
#include "tools/pmt3d/movement.h"

#include <cmath>
#include <sstream>

using fuzz::demand;

namespace {

constexpr std::size_t most_vertices = 20'000; // more only take time

struct contents {
    std::uint64_t triangles = 0, vertices = 0;
};

contents contents_of(const pmt3d::model_t& model) {
    contents all;
    for (const pmt3d::model_item_t& item : model.items) {
        all.vertices += item.polygon.vertex_count();
        pmt3d::for_each_triangle(item.polygon.getelements(), item.polygon.vertex_count(),
                                 [&](auto, auto, auto, auto, auto) { ++all.triangles; });
    }
    return all;
}

bool is_finite(const pmt3d::polygon_t& polygon) {
    const auto vertices = polygon.vertices();
    return std::all_of(vertices.begin(), vertices.end(), [](const pmt3d::vertex_t& v) {
        return std::isfinite(v.position.x) && std::isfinite(v.position.y) && std::isfinite(v.position.z);
    });
}

bool load(pmt3d::model_t& model, const std::string& name, std::string& said) {
    const fuzz::messages err;
    std::ostringstream messages;
    const bool loaded = pmt3d::load(model, name, {messages, {}, {}, 0, nullptr, nullptr});
    said = messages.str() + err.text();
    return loaded;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string name = fuzz::input_file("input.pmt", data, size);
    std::string said;
    tool::named_model all;
    if (!load(all.model, name, said)) return 0;
    all.names.resize(all.model.items.size());
    const contents before = contents_of(all.model);
    if (before.vertices > most_vertices) return 0;

    // One of these by the input's length: what mirrors, what is uneven, what turns.
    const tool::movement movements[] = {
        tool::movement::scaling({-1, 2, 0.5}), tool::movement::scaling({3, 3, 3}),
        tool::movement::turning({10, 20, 30}),
        tool::movement::scaling({1, -1e30, 1}).then(tool::movement::shifting({1, 2, 3}))};
    std::vector<bool> was_finite;
    for (const pmt3d::model_item_t& item : all.model.items)
        was_finite.push_back(is_finite(item.polygon));
    if (tool::move(all.model, movements[size % 4])) {
        std::size_t i = 0;
        for (const pmt3d::model_item_t& item : all.model.items)
            demand(!was_finite[i++] || is_finite(item.polygon), "a movement that succeeds leaves numbers");
    }
    demand(contents_of(all.model).triangles == before.triangles, "every triangle is still there");
    for (pmt3d::model_item_t& item : all.model.items)
        if (size / 4 % 2 && item.kind == pmt3d::model_item_t::kind_t::nurbs) tool::make_triangles(item);
    if (size / 8 % 2) {
        const fuzz::messages messages;
        const bool one = tool::merge_into_one(all);
        demand(one ? messages.text().empty() : messages.lines() == 1,
               "surfaces become one, or it says why not");
        demand(contents_of(all.model).triangles == before.triangles, "with all triangles");
    }
    constexpr float angles[] = {0, 30, 90, 180};
    demand(tool::smooth(all.model, angles[size / 16 % 4]), "there is room");
    demand(contents_of(all.model).triangles <= before.triangles, "smoothing adds no triangles");
    for (const pmt3d::model_item_t& item : all.model.items) {
        if (item.kind != pmt3d::model_item_t::kind_t::polygon) continue;
        for (const pmt3d::frame_t& f : item.polygon.normals())
            for (const render::dir3& d : {f.tangent, f.binormal, f.normal})
                demand(std::abs(std::hypot(d.x, d.y, d.z) - 1) < 1e-4f, "every vertex has a frame");
    }

    const std::string saved = fuzz::files().file("saved.pmt");
    {
        const fuzz::messages messages;
        if (!pmt3d::save(all.model, saved)) return 0;
    }
    const contents after = contents_of(all.model);
    if (after.vertices == 0) return 0;
    pmt3d::model_t again;
    const bool reloaded = load(again, saved, said);
    demand(reloaded, ("what was saved can be loaded: " + said).c_str());
    demand(contents_of(again).triangles == after.triangles, "with its triangles");
    return 0;
}
