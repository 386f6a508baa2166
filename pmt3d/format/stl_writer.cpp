#include "pmt3d/format/stl.h"

#include "pmt3d/format/file_saver.h"
#include "pmt3d/format/line_writer.h"
#include "pmt3d/format/stl_form.h"
#include "render/math/operations.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace pmt3d {

namespace {

using item_pointers = std::vector<const model_item_t*>;

item_pointers pointers(const surface_list& items) {
    item_pointers all;
    for (const model_item_t& item : items)
        all.push_back(&item);
    return all;
}

// Calls visit(normal, corners) for every triangle of every item.
template <class Visit>
void for_each_facet(const item_pointers& items, Visit&& visit) {
    for (const model_item_t* item : items) {
        const auto vertices = item->polygon.vertices();
        for_each_triangle(item->polygon.getelements(), vertices.size(),
                          [&](std::uint64_t, bool, element_t a, element_t b, element_t c) {
                              const render::pos3 corners[3] = {vertices[a].position, vertices[b].position,
                                                               vertices[c].position};
                              visit(render::unit_triangle_normal(corners[0], corners[1], corners[2]),
                                    corners);
                          });
    }
}

std::uint64_t count_facets(const item_pointers& items) {
    std::uint64_t count = 0;
    for (const model_item_t* item : items)
        for_each_triangle(item->polygon.getelements(), item->polygon.vertex_count(),
                          [&](std::uint64_t, bool, element_t, element_t, element_t) { ++count; });
    return count;
}

bool save_binary(const item_pointers& items, const std::string& name, const progress_t& progress) {
    file_saver file(name);
    if (!file.is_open()) return false;
    std::string bytes = name.starts_with(stl_text_start) ? ' ' + name : name;
    bytes.resize(stl_header, '\0');
    const std::uint64_t facets = count_facets(items);
    const auto count = std::uint32_t(facets);
    bytes.append(reinterpret_cast<const char*>(&count), sizeof count);
    std::uint64_t written = 0;
    for_each_facet(items, [&](const render::dir3& normal, const render::pos3(&corners)[3]) {
        char record[stl_record] = {};
        std::memcpy(record, &normal, sizeof normal);
        std::memcpy(record + sizeof normal, corners, sizeof corners);
        bytes.append(record, stl_record);
        ++written;
        if (bytes.size() < 65536) return;
        file.write(bytes);
        bytes.clear();
        if (progress) progress(written, facets);
    });
    file.write(bytes);
    return file.commit();
}

} // namespace

bool save_stl(const surface_list& items, const std::string& name, const progress_t& progress) {
    return save_binary(pointers(items), name, progress);
}

bool save_stl(const model_item_t& item, const std::string& name, const progress_t& progress) {
    return save_binary({&item}, name, progress);
}

bool save_stl_text(const surface_list& items, const std::string& name, const progress_t& progress) {
    const item_pointers all = pointers(items);
    file_saver file(name);
    if (!file.is_open()) return false;
    line_writer out([&](std::string_view text) { return file.write(text); }, progress,
                    7 * count_facets(all) + 2);
    const auto numbers = [&](const auto& v) { out.number(v.x).text(" ").number(v.y).text(" ").number(v.z); };
    out.text("solid ").text(std::string_view(name).substr(0, name.find_first_of("\r\n"))).end_line();
    for_each_facet(all, [&](const render::dir3& normal, const render::pos3(&corners)[3]) {
        out.text("facet normal ");
        numbers(normal);
        out.end_line();
        out.text("  outer loop").end_line();
        for (const render::pos3& corner : corners) {
            out.text("    vertex ");
            numbers(corner);
            if (!(std::isfinite(corner.x) && std::isfinite(corner.y) && std::isfinite(corner.z)))
                out.refuse();
            out.end_line();
        }
        out.text("  endloop").end_line();
        out.text("endfacet").end_line();
    });
    out.text("endsolid ").end_line();
    out.flush();
    return !out.refused() && file.commit();
}

} // namespace pmt3d
