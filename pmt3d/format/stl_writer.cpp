#include "pmt3d/format/stl.h"

#include "pmt3d/format/file_saver.h"
#include "pmt3d/format/line_writer.h"
#include "pmt3d/format/stl_form.h"
#include "render/math/operations.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>
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

bool write_binary(const item_pointers& items, const std::string& name, const byte_sink& sink,
                  const progress_t& progress) {
    std::string bytes = name.starts_with(stl_text_start) ? ' ' + name : name;
    bytes.resize(stl_header, '\0');
    const std::uint64_t facets = count_facets(items);
    const auto count = std::uint32_t(facets);
    bytes.append(reinterpret_cast<const char*>(&count), sizeof count);
    std::uint64_t written = 0;
    bool good = true;
    for_each_facet(items, [&](const render::dir3& normal, const render::pos3(&corners)[3]) {
        char record[stl_record] = {};
        std::memcpy(record, &normal, sizeof normal);
        std::memcpy(record + sizeof normal, corners, sizeof corners);
        bytes.append(record, stl_record);
        ++written;
        if (bytes.size() < 65536) return;
        good = good && sink(bytes);
        bytes.clear();
        if (progress) progress(written, facets);
    });
    return good && sink(bytes);
}

// As few digits as give the same number again. Others than finite ones are "nan", "inf" and "-inf".
void append(std::string& text, float value) {
    char digits[32];
    text.append(digits, std::to_chars(digits, std::end(digits), value).ptr);
}

bool write_text(const item_pointers& items, const std::string& name, const byte_sink& sink,
                const progress_t& progress) {
    line_writer out(sink, progress, 7 * count_facets(items) + 2);
    std::string line;
    const auto numbers = [&](std::string_view key, const auto& v) {
        line = key;
        for (const float number : {v.x, v.y, v.z}) {
            line += ' ';
            append(line, number);
        }
        out.text(line).end_line();
    };
    out.text("solid ").text(std::string_view(name).substr(0, name.find_first_of("\r\n"))).end_line();
    for_each_facet(items, [&](const render::dir3& normal, const render::pos3(&corners)[3]) {
        numbers("facet normal", normal);
        out.text("  outer loop").end_line();
        for (const render::pos3& corner : corners)
            numbers("    vertex", corner);
        out.text("  endloop").end_line();
        out.text("endfacet").end_line();
    });
    out.text("endsolid ").end_line();
    return out.flush();
}

// Puts the file in place when all of it could be written.
template <class Write>
bool save(const item_pointers& items, const std::string& name, const progress_t& progress, Write&& write) {
    file_saver file(name);
    if (!file.is_open()) return false;
    write(
        items, name, [&](std::string_view bytes) { return file.write(bytes); }, progress);
    return file.commit();
}

} // namespace

bool save_stl(const surface_list& items, const std::string& name, const progress_t& progress) {
    return save(pointers(items), name, progress, write_binary);
}

bool save_stl(const model_item_t& item, const std::string& name, const progress_t& progress) {
    return save({&item}, name, progress, write_binary);
}

bool save_stl_text(const surface_list& items, const std::string& name, const progress_t& progress) {
    return save(pointers(items), name, progress, write_text);
}

bool write_stl(const surface_list& items, const std::string& name, const byte_sink& sink,
               const progress_t& progress) {
    return write_binary(pointers(items), name, sink, progress);
}

bool write_stl_text(const surface_list& items, const std::string& name, const byte_sink& sink,
                    const progress_t& progress) {
    return write_text(pointers(items), name, sink, progress);
}

} // namespace pmt3d
