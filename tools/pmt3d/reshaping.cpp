#include "reshaping.h"

#include "libutils/report.h"
#include "pmt3d/format/vertex_limit.h"
#include "pmt3d/surface/frames.h"
#include "tools/command_line/command_line.h"
#include "triangle_mesh.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

namespace tool {

using libutils::report;
using pmt3d::element_t;
using pmt3d::model_item_t;

void append(named_model& all, named_model&& other) {
    if (all.model.environment == libgr::environment_options())
        all.model.environment = other.model.environment;
    all.model.items.splice(all.model.items.end(), other.model.items);
    std::move(other.names.begin(), other.names.end(), std::back_inserter(all.names));
}

bool keep_only(named_model& all, std::span<const char* const> names) {
    std::vector<bool> keep(all.names.size());
    for (const std::string name : names) {
        bool found = false;
        for (std::size_t i = 0; i < keep.size(); ++i)
            if (all.names[i] == name) keep[i] = found = true;
        const std::uint64_t number = whole_number(name).value_or(0);
        if (!found && number > 0 && number <= keep.size()) keep[number - 1] = found = true;
        if (found) continue;
        constexpr std::size_t most = 20;
        std::string list;
        for (std::size_t i = 0; i < std::min(all.names.size(), most); ++i)
            if (!all.names[i].empty()) list.append(list.empty() ? " (" : ", ").append(all.names[i]);
        if (!list.empty()) list.append(all.names.size() > most ? ", ...)" : ")");
        return report("pmt3d: there is no surface ", name, "; there are 1 to ", all.names.size(), list, '.');
    }
    std::size_t i = 0;
    std::erase_if(all.model.items, [&](const model_item_t&) { return !keep[i++]; });
    i = 0;
    std::erase_if(all.names, [&](const std::string&) { return !keep[i++]; });
    return true;
}

bool set_resolution(pmt3d::model_t& model, std::uint32_t resolution, std::uint64_t allowed) {
    // A control point needs a line of its own, and one for its weight.
    constexpr std::uint64_t least_bytes = 24;
    std::uint64_t bytes = 0, surfaces = 0;
    for (const model_item_t& item : model.items)
        if (item.kind == model_item_t::kind_t::nurbs) {
            bytes += least_bytes * item.nurbs.points().size();
            ++surfaces;
        }
    const std::uint64_t most = pmt3d::vertex_limit(bytes, allowed).most();
    const std::uint64_t each = std::uint64_t(resolution) * resolution;
    if (surfaces > 0 && (each > pmt3d::nurbs_t::most_vertices || each > most / surfaces))
        return report("pmt3d: NURBS surfaces: ", surfaces, " with ", each,
                      " vertices each are more than a file may have (", most,
                      "); pmt3d --vertices N allows N vertices.");
    for (model_item_t& item : model.items) {
        if (item.kind != model_item_t::kind_t::nurbs) continue;
        item.nurbs.set_resolution(resolution, resolution);
        if (!item.nurbs.MakeVertices5(item.polygon)) return false;
        item.nurbs.updateVertices(item.polygon);
        pmt3d::average_frames(item.polygon);
    }
    return true;
}

void make_triangles(model_item_t& item) {
    item.kind = model_item_t::kind_t::polygon;
    item.nurbs.clear();
}

bool smooth(pmt3d::model_t& model, float degrees, const pmt3d::progress_t& progress) {
    for (model_item_t& item : model.items)
        if (item.kind == model_item_t::kind_t::polygon && !smooth(item.polygon, degrees, progress))
            return false;
    return true;
}

// ---- Several surfaces as one

namespace {

// The surfaces after one another. An index beyond a surface's vertices ends a strip; it might be one of
// another's.
bool fill_from(pmt3d::polygon_t& merged, const pmt3d::surface_list& parts) {
    std::uint64_t vertices = 0, elements = 0;
    for (const model_item_t& part : parts) {
        vertices += part.polygon.vertex_count();
        elements += part.polygon.element_count() + 1;
    }
    if (!merged.allocate(vertices, elements - 1)) return false;
    const auto copy = [](auto from, auto to, std::uint64_t at) {
        std::copy(from.begin(), from.end(), to.begin() + std::ptrdiff_t(at));
    };
    auto element = merged.edit_elements().begin();
    std::uint64_t first = 0;
    for (const model_item_t& part : parts) {
        copy(part.polygon.vertices(), merged.edit_vertices(), first);
        copy(part.polygon.normals(), merged.edit_normals(), first);
        if (&part != &parts.front()) *element++ = pmt3d::strip_end;
        const std::uint64_t own = part.polygon.vertex_count();
        for (const element_t e : part.polygon.getelements())
            *element++ = e < own ? element_t(e + first) : pmt3d::strip_end;
        first += own;
    }
    merged.rebuildpolyids();
    return true;
}

} // namespace

bool merge_into_one(named_model& all) {
    pmt3d::surface_list& items = all.model.items;
    if (items.size() < 2) return true;
    const model_item_t& first = items.front();
    const auto differs = [&](const model_item_t& item) { return item.texture != first.texture; };
    if (const auto other = std::find_if(items.begin(), items.end(), differs); other != items.end())
        return report("pmt3d: a key is one surface, and surface ", 1 + std::distance(items.begin(), other),
                      " has other pictures than surface 1: --only chooses.");
    pmt3d::surface_list merged(1);
    merged.front().texture = first.texture;
    if (!fill_from(merged.front().polygon, items)) return false;
    items = std::move(merged);
    all.names.resize(1);
    return true;
}

// ---- Several files

namespace {

// The part of a file name, in lower case, by which case-blind file systems know it.
std::string folded(std::string name) {
    for (char& c : name)
        if (c >= 'A' && c <= 'Z') c = char(c - 'A' + 'a');
    return name;
}

// A surface's name without what file names cannot hold on every system.
std::string label_of(const std::string& name) {
    constexpr std::size_t most = 100;
    std::size_t end = std::min(name.size(), most);
    while (end < name.size() && end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0) == 0x80)
        --end; // not within a character
    std::string label = name.substr(0, end);
    for (char& c : label)
        if (static_cast<unsigned char>(c) < 0x20 ||
            std::string_view("/\\:*?\"<>|").find(c) != std::string_view::npos)
            c = '_';
    return label;
}

} // namespace

std::vector<std::string> split_names(const named_model& all, const std::string& file) {
    std::size_t dot = file.rfind('.');
    if (dot == file.npos || file.find_first_of("/\\", dot) != file.npos) dot = file.size(); // a folder's
    std::set<std::string> taken;
    std::vector<std::string> result;
    for (std::size_t i = 0; i < all.names.size(); ++i) {
        const std::string number = '-' + std::to_string(i + 1), name = all.names[i];
        std::string label = name.empty() ? number : '-' + label_of(name);
        while (!taken.insert(folded(label)).second)
            label += number;
        result.push_back(file.substr(0, dot) + label + file.substr(dot));
    }
    return result;
}

} // namespace tool
